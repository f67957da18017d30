#include "console/doctor_commands.h"

#include <functional>

namespace kvx::console {
namespace {

using Tell = std::function<void(const std::string& line)>;

Task Examine(std::reference_wrapper<Doctor> doctor, Tell tell, std::shared_ptr<std::string> answer) {
  const auto findings = std::make_shared<std::vector<Finding>>();
  Task examination = doctor.get().Examine([findings, tell](const Finding& finding) {
    findings->push_back(finding);
    tell("doctor " + LineOf(finding));
  });
  co_await examination;
  *answer = "ok doctor " + SummaryOf(*findings);
}

}  // namespace

void AddDoctorCommands(CommandLine& commands, Doctor& doctor) {
  commands.AddLongProcedure("doctor", "examines the station and says what is wrong and what to do",
                            [&commands, &doctor](std::string, std::shared_ptr<std::string> answer) {
                              return Examine(
                                  doctor, [&commands](const std::string& line) { commands.Tell(line); },
                                  std::move(answer));
                            });
}

}  // namespace kvx::console
