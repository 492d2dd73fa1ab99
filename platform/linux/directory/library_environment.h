#pragma once

namespace velunor {

/// Takes the variables out of the environment that make the TLS library write down the keys of its
/// connections, on which passwords go, or choose other ciphers. The library reads some of them
/// before main, so where there are any, the program starts anew with `arguments`, as the same
/// process; where that fails it goes on. To be called first in main, before there are threads.
void leaveOutRevealingVariables(char** arguments);

}  // namespace velunor
