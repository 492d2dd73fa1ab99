#pragma once

#include <memory>

namespace velunor {

template <auto release>
struct ReleasedBy {
    void operator()(auto* object) const { static_cast<void>(release(object)); }
};

/// Owns what a C library has made and takes back by its function `release`.
template <class T, auto release>
using Owned = std::unique_ptr<T, ReleasedBy<release>>;

}  // namespace velunor
