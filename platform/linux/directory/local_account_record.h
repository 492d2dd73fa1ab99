#pragma once

#include "platform/directory_service.h"
#include "platform/posix/password_database.h"

namespace velunor {

/// An account of this machine with its picture: the photo is the account's own `.face` file, the
/// picture's path is the one that the accounts service keeps. Both are asked for when they are
/// read; the service may take five seconds.
class LocalAccountRecord final : public DirectoryRecord {
  public:
    explicit LocalAccountRecord(LocalAccount account);

    /// The photo's bytes (an empty list where the account has no such file), the picture's path (an
    /// empty list where none is set); an error for any other attribute.
    [[nodiscard]] DirectoryResult<DirectoryValues> valuesForAttribute(
        std::string_view attribute) const override;

  private:
    LocalAccount account_;
};

}  // namespace velunor
