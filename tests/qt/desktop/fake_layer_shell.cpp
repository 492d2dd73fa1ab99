// Stands where the program looks for its plug-in for compositors with a layer shell. What the
// compositor offers, and where a window was put, is in a variable of the environment.

#include <cstdlib>
#include <string>
#include <string_view>

class QWindow;

namespace {

constexpr const char* variable = "VELUNOR_FAKE_LAYER_SHELL";

}  // namespace

extern "C" [[gnu::visibility("default")]] bool velunorCompositorHasLayerShell() {
    const char* const value = std::getenv(variable);
    return value != nullptr && std::string_view(value) == "offered";
}

extern "C" [[gnu::visibility("default")]] void velunorPutIntoCorner(QWindow*, int margin) {
    setenv(variable, std::to_string(margin).c_str(), 1);
}
