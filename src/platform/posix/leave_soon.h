#pragma once

namespace kvx::platform {

/// Ends the process with that code in a second, should it not have ended by then: what has been shut down in order does
/// not wait for a name service.
void LeaveSoon(int code);

}  // namespace kvx::platform
