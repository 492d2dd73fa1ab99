#include "platform/fatal_stop.h"

#include <cstdlib>

namespace velunor {

void fatalStop() noexcept {
    std::abort();
}

}  // namespace velunor
