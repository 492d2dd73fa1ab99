#pragma once

namespace velunor {

/// Makes assistive technologies meet every password field as a password text of as many bullets as
/// there are characters, which they may edit and never read. Called once is enough; main thread.
void describeSecureFields();

}  // namespace velunor
