// An answer in JSON: what is accepted is UTF-8 and says the same after encoding and decoding it; an
// error has a text.
#include "tests/fuzz/json_check.h"

namespace velunor {

void fuzz(std::string_view input) {
    const auto decoded = decodeJson(input);
    if (!decoded) {
        require(!decoded.error().debugDescription.empty());
        return;
    }
    require(isValidUtf8(input));
    checkedJson(*decoded);
}

}  // namespace velunor
