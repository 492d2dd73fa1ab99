#include "platform/secret.h"

#include <atomic>

namespace velunor {

void wipe(char* bytes, std::size_t count) noexcept {
    volatile char* cursor = bytes;
    for (std::size_t index = 0; index < count; ++index) {
        cursor[index] = '\0';
    }
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

void wipe(std::string& text) noexcept {
    // Growing to the capacity never allocates and makes every byte of the storage addressable.
    text.resize(text.capacity());
    wipe(text.data(), text.size());
    text.clear();
}

}  // namespace velunor
