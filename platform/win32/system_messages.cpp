// The table of system messages, in the order of their numbers. Texts are those that users see on Windows.

#include "system_messages.h"

#include <algorithm>
#include <iterator>

namespace {

struct MessageRow {
    DWORD error;
    std::u16string_view text;
};

constexpr MessageRow kMessages[] = {
    {0, u"The operation completed successfully."},
    {1, u"Incorrect function."},
    {2, u"The system cannot find the file specified."},
    {3, u"The system cannot find the path specified."},
    {4, u"The system cannot open the file."},
    {5, u"Access is denied."},
    {6, u"The handle is invalid."},
    {7, u"The storage control blocks were destroyed."},
    {8, u"Not enough memory resources are available to process this command."},
    {9, u"The storage control block address is invalid."},
    {10, u"The environment is incorrect."},
    {11, u"An attempt was made to load a program with an incorrect format."},
    {12, u"The access code is invalid."},
    {13, u"The data is invalid."},
    {14, u"Not enough memory resources are available to complete this operation."},
    {15, u"The system cannot find the drive specified."},
    {16, u"The directory cannot be removed."},
    {17, u"The system cannot move the file to a different disk drive."},
    {18, u"There are no more files."},
    {19, u"The media is write protected."},
    {20, u"The system cannot find the device specified."},
    {21, u"The device is not ready."},
    {22, u"The device does not recognize the command."},
    {23, u"Data error (cyclic redundancy check)."},
    {24, u"The program issued a command but the command length is incorrect."},
    {25, u"The drive cannot locate a specific area or track on the disk."},
    {26, u"The specified disk or diskette cannot be accessed."},
    {27, u"The drive cannot find the sector requested."},
    {28, u"The printer is out of paper."},
    {29, u"The system cannot write to the specified device."},
    {30, u"The system cannot read from the specified device."},
    {31, u"A device attached to the system is not functioning."},
    {32, u"The process cannot access the file because it is being used by another process."},
    {33, u"The process cannot access the file because another process has locked a portion of the file."},
    {36, u"Too many files opened for sharing."},
    {38, u"Reached the end of the file."},
    {39, u"The disk is full."},
    {50, u"The request is not supported."},
    {51,
     u"Windows cannot find the network path. Verify that the network path is correct and the destination computer "
     u"is not busy or turned off. If Windows still cannot find the network path, contact your network "
     u"administrator."},
    {53, u"The network path was not found."},
    {55, u"The specified network resource or device is no longer available."},
    {64, u"The specified network name is no longer available."},
    {65, u"Network access is denied."},
    {67, u"The network name cannot be found."},
    {80, u"The file exists."},
    {82, u"The directory or file cannot be created."},
    {87, u"The parameter is incorrect."},
    {109, u"The pipe has been ended."},
    {110, u"The system cannot open the device or file specified."},
    {111, u"The file name is too long."},
    {112, u"There is not enough space on the disk."},
    {120, u"This function is not supported on this system."},
    {122, u"The data area passed to a system call is too small."},
    {123, u"The filename, directory name, or volume label syntax is incorrect."},
    {126, u"The specified module could not be found."},
    {127, u"The specified procedure could not be found."},
    {131, u"An attempt was made to move the file pointer before the beginning of the file."},
    {145, u"The directory is not empty."},
    {158, u"The segment is already unlocked."},
    {161, u"The specified path is invalid."},
    {170, u"The requested resource is in use."},
    {183, u"Cannot create a file when that file already exists."},
    {206, u"The filename or extension is too long."},
    {223, u"The file size exceeds the limit allowed and cannot be saved."},
    {234, u"More data is available."},
    {258, u"The wait operation timed out."},
    {259, u"No more data is available."},
    {267, u"The directory name is invalid."},
    {487, u"Attempt to access invalid address."},
    {995, u"The I/O operation has been aborted because of either a thread exit or an application request."},
    {998, u"Invalid access to memory location."},
    {1004, u"Invalid flags."},
    {1009, u"The configuration registry database is corrupt."},
    {1010, u"The configuration registry key is invalid."},
    {1011, u"The configuration registry key could not be opened."},
    {1012, u"The configuration registry key could not be read."},
    {1013, u"The configuration registry key could not be written."},
    {1015,
     u"The registry is corrupted. The structure of one of the files containing registry data is corrupted, or the "
     u"system's memory image of the file is corrupted, or the file could not be recovered because the alternate copy "
     u"or log was absent or corrupted."},
    {1016,
     u"An I/O operation initiated by the registry failed unrecoverably. The registry could not read in, or write out, "
     u"or flush, one of the files that contain the system's image of the registry."},
    {1018, u"Illegal operation attempted on a registry key that has been marked for deletion."},
    {1113, u"No mapping for the Unicode character exists in the target multi-byte code page."},
    {1117, u"The request could not be performed because of an I/O device error."},
    {1127, u"While accessing the hard disk, a disk operation failed even after retries."},
    {1131, u"A potential deadlock condition has been detected."},
    {1142, u"An attempt was made to create more links on a file than the file system supports."},
    {1223, u"The operation was canceled by the user."},
    {1295, u"The requested file operation failed because the storage quota was exceeded."},
    {1306, u"Indicates two revision levels are incompatible."},
    {1314, u"A required privilege is not held by the client."},
    {1392, u"The file or directory is corrupted and unreadable."},
    {1460, u"This operation returned because the timeout period expired."},
    {1921, u"The name of the file cannot be resolved by the system."},
};

static_assert(std::is_sorted(std::begin(kMessages), std::end(kMessages),
                             [](const MessageRow& a, const MessageRow& b) { return a.error < b.error; }));

}  // namespace

std::u16string_view kvtwin::SystemMessage(DWORD error) {
    const auto row = std::lower_bound(std::begin(kMessages), std::end(kMessages), error,
                                      [](const MessageRow& a, DWORD b) { return a.error < b; });
    return row != std::end(kMessages) && row->error == error ? row->text : std::u16string_view();
}
