#include "platform/qt/desktop/layer_shell.h"

#include <dlfcn.h>

#include <QGuiApplication>
#include <QWindow>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <utility>

#include "platform/posix/process.h"

namespace velunor {
namespace {

/// What a compositor on a loaded machine may take to answer.
constexpr std::chrono::seconds longestAnswer{3};

/// The function of this name in the plug-in beside the program; null where there is none.
template <class Function>
Function* inPlugIn(const char* name) {
    static void* const plugIn =
        dlopen((LinuxProcessInfo().bundlePath() + "/velunor-layer-shell.so").c_str(),
               RTLD_NOW | RTLD_LOCAL);
    return plugIn == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(plugIn, name));
}

}  // namespace

bool offersLayerShell() {
    auto* asks = inPlugIn<bool()>("velunorCompositorHasLayerShell");
    if (asks == nullptr) {
        return false;
    }
    std::packaged_task<bool()> ask(asks);
    // One that accepts and never answers would be waited for without an end: the thread that waits
    // is left behind.
    std::future<bool> offers = ask.get_future();
    std::thread(std::move(ask)).detach();
    return offers.wait_for(longestAnswer) == std::future_status::ready && offers.get();
}

void putIntoCorner(QWidget& window, int margin) {
    if (!QGuiApplication::platformName().startsWith("wayland")) {
        return;
    }
    if (auto* put = inPlugIn<void(QWindow*, int)>("velunorPutIntoCorner")) {
        window.winId();
        put(window.windowHandle(), margin);
    }
}

}  // namespace velunor
