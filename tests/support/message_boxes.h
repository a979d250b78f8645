#pragma once

// Message boxes as tests see them: kept, and answered at once.

#include <string>
#include <utility>
#include <vector>

#include "tests/support/support.h"

namespace kvttest {

/// The boxes shown while it lives, each as "type text". One at a time.
class MessageBoxes {
public:
    explicit MessageBoxes(int answer = IDOK) {
        Answer() = answer;
        Kept().clear();
        m_previous = kvtmfc::SetMessageBoxHandler(Keep);
    }
    ~MessageBoxes() { kvtmfc::SetMessageBoxHandler(m_previous); }
    MessageBoxes(const MessageBoxes&) = delete;
    MessageBoxes& operator=(const MessageBoxes&) = delete;

    /// What was shown since the last call.
    std::vector<std::string> Take() { return std::exchange(Kept(), {}); }

private:
    static std::vector<std::string>& Kept() {
        static std::vector<std::string> boxes;
        return boxes;
    }
    static int& Answer() {
        static int answer = IDOK;
        return answer;
    }
    static int Keep(LPCWSTR text, UINT type) {
        Kept().push_back(std::to_string(type) + " " + Utf8(text));
        return Answer();
    }

    kvtmfc::MessageBoxHandler m_previous;
};

}  // namespace kvttest
