#pragma once

#include "platform/fatal_stop.h"

namespace velunor {

/// A nullable reference to an object that somebody else owns and keeps alive. Using an empty one
/// is a programming error and ends the process; ask `isConnected()` where absence is allowed.
template <class T>
class WeakReference {
  public:
    WeakReference() = default;

    /// Points the reference at `target`; a null pointer empties it. No ownership is taken.
    void connect(T* target) noexcept { target_ = target; }

    [[nodiscard]] bool isConnected() const noexcept { return target_ != nullptr; }

    T& operator*() const noexcept {
        if (target_ == nullptr) {
            fatalStop();
        }
        return *target_;
    }

    T* operator->() const noexcept { return &**this; }

  private:
    T* target_ = nullptr;
};

}  // namespace velunor
