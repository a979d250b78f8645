// The test programs' entry: every process gets a prefix of its own and a message-box handler that answers at once.

#include <iostream>

#include "tests/support/support.h"

namespace {

int AnswerMessageBox(LPCWSTR text, UINT type) {
    std::cerr << "message box (" << type << "): " << kvttest::Utf8(text) << '\n';
    return IDOK;
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) {
        return RUN_ALL_TESTS();
    }
    kvttest::detail::PrepareEnvironment();
    kvtmfc::SetMessageBoxHandler(AnswerMessageBox);
    const int result = RUN_ALL_TESTS();
    kvttest::detail::CleanEnvironment();
    return result;
}
