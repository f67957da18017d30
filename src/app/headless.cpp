#include "app/headless.h"

#include <QCoreApplication>
#include <iostream>

#include "app/program.h"
#include "console/accessory_commands.h"
#include "console/audio_commands.h"
#include "console/command_line.h"
#include "console/cw_commands.h"
#include "console/decode_command.h"
#include "console/doctor_commands.h"
#include "console/link_commands.h"
#include "console/memory_commands.h"
#include "console/rig_editor_commands.h"
#include "console/setup_commands.h"
#include "console/tuner_commands.h"
#include "platform/posix/leave_soon.h"
#include "platform/qt/standard_input.h"
#include "platform/qt/standard_output.h"

namespace kvx::app {

void AddCommands(console::CommandLine& commands, Program& program) {
  console::AddSetupCommands(commands, program.setup());
  console::AddMemoryCommands(commands, program.station());
  console::AddCwCommands(commands, program.loop(), program.station());
  console::AddAccessoryCommands(commands, program.station());
  console::AddAudioCommands(commands, program.loop(), program.station());
  console::AddDecodeCommand(commands, program.loop(), program.station());
  console::AddDoctorCommands(commands, program.doctor());
  console::AddLinkCommands(commands, program.setup());
  console::AddTunerCommands(commands, program.station());
  console::AddRigEditorCommands(commands, program.station(), program.files());
}

namespace {

int Operate(const Options& options, platform::ReleaseProcess& release_process) {
  Program program(options, &release_process);
  if (auto prepared = program.Prepare(); !prepared) {
    std::cerr << "kvx: " << prepared.error().message << '\n';
    return prepared.error().code == ErrorCode::kBusy ? 2 : 1;
  }
  platform::StandardOutput output;
  console::CommandLine commands(program.loop(), program.station(),
                                [&](const std::string& line) { output.WriteLine(line); });
  AddCommands(commands, program);
  platform::StandardInput input;
  commands.answer = [&](const std::string& line) { output.WriteAnswer(line); };
  commands.on_quit = [&] { program.Stop(); };
  commands.simulated_rig = [&](std::string_view command) { return program.OperateSimulatedRig(command); };
  input.on_line = [&](const std::string& line) { commands.Take(line); };
  input.on_end = [&] { commands.End(); };
  input.on_overlong = [&] { commands.Refuse("the line is too long"); };
  program.on_ended = [&] { QCoreApplication::exit(0); };
  program.Start();
  commands.Ready();
  input.Start();
  const int code = QCoreApplication::exec();
  output.Flush();
  return code;
}

}  // namespace

int RunHeadless(int argc, char** argv, const Options& options) {
  platform::ReleaseProcess release_process(argc, argv);
  release_process.Start();  // while there is nothing that it would inherit; the program tries again if need be
  const QCoreApplication application(argc, argv);
  const int code = Operate(options, release_process);
  platform::LeaveSoon(code);
  return code;
}

}  // namespace kvx::app
