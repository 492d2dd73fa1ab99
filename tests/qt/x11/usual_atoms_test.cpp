// What each start asks of the X server at once. Here, before the program's other tests, nobody has
// asked for any of it.

#include <xcb/xcb.h>

#include "platform/qt/desktop/x11_properties.h"
#include "tests/qt/x11/x11_test.h"

namespace velunor {
namespace {

using UsualAtomsTest = X11Test;

TEST_F(UsualAtomsTest, AreAllKnownAfterTheFirstQuestion) {
    static_cast<void>(x11Atom(x(), "_VELUNOR_FIRST"));
    // The server's requests are numbered.
    const unsigned before = xcb_no_operation(x()).sequence;
    for (const char* name :
         {"ATOM", "WM_HINTS", "WM_PROTOCOLS", "WM_TAKE_FOCUS", "_NET_ACTIVE_WINDOW",
          "_NET_FRAME_EXTENTS", "_NET_SUPPORTING_WM_CHECK", "_NET_WM_CM_S0", "_NET_WORKAREA"}) {
        EXPECT_NE(x11Atom(x(), name), xcb_atom_t{XCB_ATOM_NONE}) << name;
    }
    EXPECT_EQ(xcb_no_operation(x()).sequence, before + 1);
}

}  // namespace
}  // namespace velunor
