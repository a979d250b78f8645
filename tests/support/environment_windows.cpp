// Under Wine the runner hands out a prefix for the test's lifetime; what an earlier test left on drive C goes first.

#include "tests/support/support.h"

namespace kvttest::detail {

void PrepareEnvironment() {
    RemoveTree(_T("C:\\OrvaData"));
    RemoveTree(_T("C:\\ORVASOFT"));
}

void CleanEnvironment() {
    PrepareEnvironment();
}

}  // namespace kvttest::detail
