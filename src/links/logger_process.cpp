#include "links/logger_process.h"

#include <algorithm>

#include "core/text.h"

namespace kvx::links {

bool IsRunning(const platform::ProcessList& processes, std::string_view program) {
  return std::ranges::any_of(processes.Names(),
                             [program](const std::string& name) { return EqualNoCase(name, program); });
}

std::string LoggerSentence(const platform::ProcessList& processes, std::string_view program) {
  const std::string shown = OneLine(program, 60);
  if (IsRunning(processes, program)) return shown + " is running";
  if (IsRunning(processes, kSkimmerProgram)) return std::string(kSkimmerProgram) + " is running";
  return shown + " is not running";
}

}  // namespace kvx::links
