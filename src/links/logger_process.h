#pragma once

#include <string>
#include <string_view>

#include "platform/process_list.h"

namespace kvx::links {

inline constexpr const char* kSkimmerProgram = "CwSkimmer.exe";

/// "N1MMLogger.net.exe is running" of the logger with that program name or, where it is not and the skimmer is, of the
/// skimmer; else "N1MMLogger.net.exe is not running".
std::string LoggerSentence(const platform::ProcessList& processes, std::string_view program);
/// Whether a program of that name runs, upper and lower case being the same.
bool IsRunning(const platform::ProcessList& processes, std::string_view program);

}  // namespace kvx::links
