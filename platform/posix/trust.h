#pragma once

#include <string>

namespace velunor {

/// 0 when nobody but root and this process's user can have made the regular file at the absolute
/// `path` what it is: it, each directory that leads to it and each symbolic link on the way belong
/// to one of the two, and nobody else may write to them. Others may write to a directory whose
/// entries only their owners may replace, such as /tmp. Whoever owns the root directory owns the
/// machine. Else errno's number, EPERM where somebody else could. Any thread.
[[nodiscard]] int distrust(const std::string& path);

}  // namespace velunor
