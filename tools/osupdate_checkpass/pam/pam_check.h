#pragma once

#include "tools/osupdate_checkpass/protocol/request.h"

namespace velunor {

/// Asks PAM, in this process, about the password and about the account, with the service
/// "velunor-osupdate". PAM_SUCCESS only when PAM has seen the password, accepted it, still means
/// the same account and would let it in now; else the number of PAM's error. Blocks as long as
/// PAM's modules do, which may also end the process.
[[nodiscard]] int askPam(const CheckRequest& request);

}  // namespace velunor
