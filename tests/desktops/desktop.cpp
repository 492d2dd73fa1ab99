#include "tests/desktops/desktop.h"

#include "tests/desktops/x11_desktops.h"

namespace velunor::testing {

const std::vector<DesktopKind>& desktopKinds() {
    static const std::vector<DesktopKind> all = x11Desktops();
    return all;
}

}  // namespace velunor::testing
