#pragma once

namespace kvx::app {

/// Why a program without a station folder ends at once.
inline constexpr const char* kNoFolder = "there is no home directory for the station folder: --station DIR names one";

/// Ends the process with that code in a second, should it not have ended by then: what has been shut down in order does
/// not wait for a name service.
void LeaveSoon(int code);

}  // namespace kvx::app
