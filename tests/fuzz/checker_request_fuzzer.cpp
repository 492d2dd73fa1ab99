// The checker's reading of a request: accepted is exactly what the prompt's side would have sent
// about that name and that password, within the limits of their lengths.
#include "platform/linux/directory/credential_checker.h"
#include "tests/fuzz/fuzzing.h"
#include "tools/osupdate_checkpass/protocol/messages.h"

namespace velunor {

void fuzz(std::string_view input) {
    using namespace credential_checker_protocol;
    const std::vector<std::string> parts = partsOf(input);
    for (const std::size_t longest : {longestPassword, longestDirectoryPassword}) {
        const bool isRequest = parts.size() == 3 && parts[2].empty() && !parts[0].empty() &&
                               !parts[1].empty() && parts[0].size() <= longestUserName &&
                               parts[1].size() <= longest;
        CheckRequest request;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        require(request.read(streamOf(input), deadline, longest) == isRequest);
        if (isRequest) {
            require(request.userName() == parts[0] && request.password() == parts[1]);
            require(credentialRequest(request.userName(), Secret(request.password())).reveal() ==
                    input);
        }
    }
}

}  // namespace velunor
