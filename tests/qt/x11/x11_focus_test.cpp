// A window that must not take the keyboard from whoever types elsewhere, and then may.

#include "platform/qt/desktop/x11_focus.h"

#include <QWindow>
#include <algorithm>

#include "platform/qt/desktop/window_sight.h"
#include "platform/qt/desktop/x11_properties.h"
#include "tests/qt/x11/x11_test.h"

namespace velunor {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using testing::WindowId;

using Numbers = std::vector<std::uint32_t>;

class X11FocusTest : public X11Test {
  protected:
    /// Two numbers of the hints: the flags' first, and whether keys are wanted.
    [[nodiscard]] static std::pair<bool, std::uint32_t> hints(const QWidget& window) {
        const Numbers values = x11Values(x(), idOf(window), "WM_HINTS");
        return values.size() < 2 ? std::pair(false, 99U)
                                 : std::pair((values[0] & 1U) != 0, values[1]);
    }
    [[nodiscard]] static Numbers protocols(const QWidget& window) {
        return x11Values(x(), idOf(window), "WM_PROTOCOLS");
    }
    /// What kind of values a property has.
    [[nodiscard]] static xcb_atom_t typeOf(const QWidget& window, const char* property) {
        const ReplyPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            x(), xcb_get_property(x(), 0, idOf(window), x11Atom(x(), property), XCB_ATOM_ANY, 0, 0),
            nullptr));
        return reply ? reply->type : xcb_atom_t{XCB_ATOM_NONE};
    }
    /// Tells as a window manager that this window is the active one.
    static void makeActive(xcb_window_t active) {
        setX11Values(x(), root(), "_NET_ACTIVE_WINDOW", "WINDOW", {active});
        handleNews();
    }
};

TEST_F(X11FocusTest, WithheldWindowTellsThatItTakesNoKeysAndLeavesThemWhereTheyAre) {
    ASSERT_TRUE(X11Focus::isPossible());
    const WindowId terminal = add(screen().addTerminal({600, 400, 200, 100}));
    QWidget window;
    X11Focus focus(window);
    focus.withhold();
    ASSERT_TRUE(isShown(window));
    EXPECT_EQ(hints(window), std::pair(true, 0U));
    EXPECT_THAT(protocols(window), Not(Contains(x11Atom(x(), "WM_TAKE_FOCUS"))));
    EXPECT_THAT(protocols(window), Contains(x11Atom(x(), "WM_DELETE_WINDOW")));
    EXPECT_EQ(screen().keyFocus(), terminal);
    // The toolkit goes on hearing what there is.
    EXPECT_TRUE(becomes([&] { return window.windowHandle()->isExposed(); }));
    // Whoever had them before it was withheld gets them back.
    const Requests requests;
    makeActive(idOf(window));
    EXPECT_TRUE(
        becomes([&] { return !requests.about(terminal, "_NET_ACTIVE_WINDOW", 2).empty(); }));

    focus.offer();
    EXPECT_EQ(hints(window), std::pair(true, 1U));
    EXPECT_THAT(protocols(window), Contains(x11Atom(x(), "WM_TAKE_FOCUS")));
    EXPECT_EQ(typeOf(window, "WM_HINTS"), xcb_atom_t{XCB_ATOM_WM_HINTS});
    EXPECT_EQ(typeOf(window, "WM_PROTOCOLS"), xcb_atom_t{XCB_ATOM_ATOM});
    screen().activate(idOf(window));
    EXPECT_TRUE(becomes([&] { return window.isActiveWindow(); }));
    // It is offered once.
    setX11Values(x(), idOf(window), "WM_PROTOCOLS", "ATOM", {});
    focus.offer();
    EXPECT_THAT(protocols(window), IsEmpty());
}

TEST_F(X11FocusTest, HintThatTellsNothingOfKeysComesToTellIt) {
    QWidget window;
    Numbers values = x11Values(x(), idOf(window), "WM_HINTS");
    ASSERT_GE(values.size(), 2U);
    values[0] &= ~1U;
    setX11Values(x(), idOf(window), "WM_HINTS", "WM_HINTS", values);
    X11Focus focus(window);
    focus.withhold();
    EXPECT_EQ(hints(window), std::pair(true, 0U));
}

TEST_F(X11FocusTest, OfferingWhatWasNeverWithheldChangesNothing) {
    QWidget window;
    X11Focus focus(window);
    ASSERT_TRUE(isShown(window));
    const Numbers before = protocols(window);
    focus.offer();
    EXPECT_EQ(protocols(window), before);
}

TEST_F(X11FocusTest, FocusThatAWindowManagerGivesAllTheSameGoesBack) {
    const WindowId first = add(screen().addTerminal({600, 400, 200, 100}));
    QWidget window;
    X11Focus focus(window);
    focus.withhold();
    ASSERT_TRUE(isShown(window));
    const Requests requests;
    const auto given = [&] { return requests.about(first, "_NET_ACTIVE_WINDOW", 2).size(); };
    // The real window manager does what it is asked, and may do so before this is seen.
    const auto isGivenBack = [&](xcb_window_t active) {
        const std::size_t before = given();
        return becomes([&] {
            makeActive(static_cast<xcb_window_t>(first));
            // Between two of them there is none.
            makeActive(XCB_WINDOW_NONE);
            makeActive(active);
            return given() > before;
        });
    };
    EXPECT_TRUE(isGivenBack(idOf(window)));
    EXPECT_EQ(requests.about(first, "_NET_ACTIVE_WINDOW", 2).front(),
              (Numbers{2, XCB_CURRENT_TIME}));

    // A window manager may name the frame.
    const auto frames = x11Descendants(x(), root(), 1);
    xcb_window_t frame = XCB_WINDOW_NONE;
    for (const xcb_window_t one : frames) {
        const auto inside = x11Descendants(x(), one, 3);
        if (std::ranges::find(inside, idOf(window)) != inside.end()) {
            frame = one;
        }
    }
    ASSERT_NE(frame, xcb_window_t{XCB_WINDOW_NONE});
    EXPECT_TRUE(isGivenBack(frame));

    // Once it is offered it may keep it.
    focus.offer();
    const auto active = static_cast<xcb_window_t>(first);
    makeActive(active);
    const std::size_t before = given();
    makeActive(idOf(window));
    makeActive(active);
    EXPECT_EQ(given(), before);
}

TEST_F(X11FocusTest, FrontIsAskedForAsTheUserWouldFromWhereverTheWindowIs) {
    QWidget window;
    ASSERT_TRUE(isShown(window));
    const WindowId other = add(screen().addTerminal({0, 0, 1280, 900}));
    screen().minimize(idOf(window));
    ASSERT_TRUE(becomes([&] { return window.isMinimized(); }));
    ASSERT_EQ(screen().keyFocus(), other);
    const Requests requests;
    bringToFront(window, "token");
    EXPECT_TRUE(becomes([&] {
        return !window.isMinimized() && window.isActiveWindow() &&
               screen().isViewable(idOf(window));
    }));
    EXPECT_TRUE(becomes([&] {
        return requests.about(idOf(window), "_NET_ACTIVE_WINDOW", 2) ==
               std::vector<Numbers>(1, {2, XCB_CURRENT_TIME});
    }));
}

TEST_F(X11FocusTest, PropertiesAreReadAsTheyAreAndNoOthers) {
    QWidget window;
    const xcb_window_t id = idOf(window);
    Numbers many(5000);
    for (std::uint32_t number = 0; number < many.size(); ++number) {
        many[number] = number;
    }
    put(id, "_VELUNOR_TEST", many);
    const Numbers read = x11Values(x(), id, "_VELUNOR_TEST");
    EXPECT_EQ(read, Numbers(many.begin(), many.begin() + 4096));
    EXPECT_EQ(x11Values(x(), id, "_VELUNOR_ABSENT"), Numbers());
    // Letters are no numbers.
    EXPECT_EQ(x11Values(x(), id, "WM_CLASS"), Numbers());
    EXPECT_EQ(x11ValuesOfEach(x(), {id, root()}, "_VELUNOR_TEST"),
              (std::vector<Numbers>{read, Numbers()}));
    EXPECT_NE(x11Atom(x(), "_VELUNOR_ONE"), x11Atom(x(), "_VELUNOR_OTHER"));
    EXPECT_EQ(x11Atom(x(), "_VELUNOR_ONE"), x11Atom(x(), "_VELUNOR_ONE"));
    EXPECT_EQ(x11Atom(x(), "ATOM"), xcb_atom_t{XCB_ATOM_ATOM});
}

TEST_F(X11FocusTest, WindowsInsideAreFoundToTheirDepthFromTheBottomUp) {
    const auto outer = static_cast<xcb_window_t>(add(screen().addCover({0, 0, 100, 100})));
    const auto make = [&](xcb_window_t parent) {
        const xcb_window_t made = xcb_generate_id(x());
        xcb_create_window(x(), XCB_COPY_FROM_PARENT, made, parent, 0, 0, 9, 9, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        return made;
    };
    const xcb_window_t lower = make(outer);
    const xcb_window_t upper = make(outer);
    const xcb_window_t deep = make(lower);
    EXPECT_THAT(x11Descendants(x(), outer, 0), ElementsAre());
    EXPECT_THAT(x11Descendants(x(), outer, 1), ElementsAre(lower, upper));
    EXPECT_THAT(x11Descendants(x(), outer, 2), ElementsAre(lower, upper, deep));
    EXPECT_THAT(x11Descendants(x(), outer, 9), ElementsAre(lower, upper, deep));
}

}  // namespace
}  // namespace velunor
