#pragma once

namespace kvx::platform {

/// The life of a release process: takes what is armed from the socket, and makes it when `program` cannot. Neither
/// allocates nor locks.
[[noreturn]] void StandIn(int socket, int program);

}  // namespace kvx::platform
