// The plug-in that speaks to a Wayland compositor's layer shell. It stands apart because its
// libraries cost a start that does not need them.

#include <LayerShellQt/window.h>
#include <wayland-client.h>

#include <QMargins>
#include <QWindow>
#include <memory>
#include <string_view>

namespace {

constexpr std::string_view protocol = "zwlr_layer_shell_v1";
/// The first version in which a window gets the keyboard by a click alone.
constexpr std::uint32_t leastVersion = 4;

void look(void* found, wl_registry*, std::uint32_t, const char* interface, std::uint32_t version) {
    if (interface == protocol && version >= leastVersion) {
        *static_cast<bool*>(found) = true;
    }
}

void overlook(void*, wl_registry*, std::uint32_t) {}

struct Closer {
    void operator()(wl_display* display) const { wl_display_disconnect(display); }
    void operator()(wl_registry* registry) const { wl_registry_destroy(registry); }
};

}  // namespace

/// Whether the compositor that the environment names has a layer shell. Any thread.
extern "C" Q_DECL_EXPORT bool velunorCompositorHasLayerShell() {
    const std::unique_ptr<wl_display, Closer> display(wl_display_connect(nullptr));
    if (!display) {
        return false;
    }
    const std::unique_ptr<wl_registry, Closer> registry(wl_display_get_registry(display.get()));
    static const wl_registry_listener listener{look, overlook};
    bool found = false;
    wl_registry_add_listener(registry.get(), &listener, &found);
    return wl_display_roundtrip(display.get()) >= 0 && found;
}

/// Has the compositor put a window that is yet to be shown into the lower right corner. Main
/// thread.
extern "C" Q_DECL_EXPORT void velunorPutIntoCorner(QWindow* window, int margin) {
    using LayerShellQt::Window;
    if (Window* layer = Window::get(window)) {
        layer->setLayer(Window::LayerTop);
        layer->setAnchors({Window::AnchorBottom, Window::AnchorRight});
        layer->setMargins({0, 0, margin, margin});
        layer->setExclusiveZone(0);
        layer->setKeyboardInteractivity(Window::KeyboardInteractivityOnDemand);
        layer->setScope("velunor-os-update");
    }
}
