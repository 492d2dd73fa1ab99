#include "tests/desktops/desktop.h"

#include <utility>

#include "tests/desktops/wayland_desktops.h"
#include "tests/desktops/x11_desktops.h"

namespace velunor::testing {

const std::vector<DesktopKind>& desktopKinds() {
    static const std::vector<DesktopKind> all = [] {
        std::vector<DesktopKind> kinds = x11Desktops();
        for (DesktopKind& kind : waylandDesktops()) {
            kinds.push_back(std::move(kind));
        }
        return kinds;
    }();
    return all;
}

}  // namespace velunor::testing
