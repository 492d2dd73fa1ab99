// A whole prompt without a pointer: read, filled in and answered as by users of a screen reader.

#include <iostream>

#include "tests/e2e/credentials/credentials_test.h"

namespace velunor::e2e {
namespace {

class Accessibility : public CredentialsTest {};

TEST_F(Accessibility, Dump) {
    startPrompt();
    ASSERT_TRUE(waitForControl("label", "ada")) << systemLog();
    for (const Accessible& control : controls()) {
        std::cout << control.role << " | " << control.name << " | " << control.description << " | "
                  << control.showing << control.focusable;
        for (const auto& label : reader().labelsOf(control)) {
            std::cout << " <- " << label;
        }
        for (const auto& action : reader().actionsOf(control)) {
            std::cout << " ! " << action;
        }
        std::cout << "\n";
    }
}

}  // namespace
}  // namespace velunor::e2e
