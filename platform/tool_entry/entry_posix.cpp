// Entry of the command off Windows: arguments and output are UTF-8 as they stand.

#include "tools/kvtfile/command.h"

int main(int count, char** arguments) {
    return kvtcommand::Run({arguments + 1, arguments + count});
}
