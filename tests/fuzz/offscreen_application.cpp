#include "tests/fuzz/offscreen_application.h"

#include <sanitizer/lsan_interface.h>

#include <QApplication>
#include <array>

/// The fonts' library keeps what it has read of them.
const char* __lsan_default_suppressions() {
    return "leak:libfontconfig";
}

namespace velunor {

QApplication& offscreenApplication() {
    static auto* const application = [] {
        static std::array<char, 5> name{"fuzz"};
        static std::array<char*, 2> arguments{name.data(), nullptr};
        static int count = 1;
        qputenv("QT_QPA_PLATFORM", "offscreen");
        // No bus, and no accessibility through it.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        return new QApplication(count, arguments.data());
    }();
    return *application;
}

}  // namespace velunor
