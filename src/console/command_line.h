#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "console/station.h"

namespace kvx::console {

/// The headless command line: one command a line, each answered by one line, "ok ..." or "error: ..." (`status`: the
/// JSON itself); other lines tell what happens ("freq 14025.00", "mode CW", "message ...", "tx on"). The first line is
/// "ready".
class CommandLine {
 public:
  /// The longest answer; what would be longer is answered by an error.
  static constexpr std::size_t kLongestAnswer = 16U << 20;

  /// Takes one line of output, without its end.
  using Output = std::function<void(const std::string& line)>;

  CommandLine(Loop& loop, Station& station, Output output);

  /// Says "ready" and whatever happened before; from now on events are told at once.
  void Ready();
  /// Takes a line of input. Commands are carried out in order, a later one when the earlier one is done. What stops a
  /// transmission waits for none.
  void Take(std::string line);
  /// Whoever gave the commands has gone. When they have been carried out, what he has left keyed is released.
  void End();
  /// An input line that was too long to take.
  void Refuse(const std::string& why) { Answer("error: " + why); }

  /// Takes answers; unset: the output does. An answer must arrive, an event that a slow reader cannot take may be lost.
  Output answer;
  std::function<void()> on_quit;
  /// A command of another module: a procedure that leaves its answer ("ok ...", "error: ...") in `answer`.
  using Procedure = std::function<Task(std::string argument, std::shared_ptr<std::string> answer)>;
  /// Adds a command. `usage` begins with what it takes, as "BAUD: the rig port's speed".
  void Add(std::string name, std::string usage, std::function<std::string(std::string_view argument)> handler);
  void AddProcedure(std::string name, std::string usage, Procedure procedure);
  /// A procedure that takes long and goes on beside later commands, one such after the other, until `quit` ends it.
  void AddLongProcedure(std::string name, std::string usage, Procedure procedure);

  struct CommandHelp {
    std::string name;
    std::string usage;  ///< as Add takes it
  };
  std::vector<CommandHelp> commands() const;

  /// Keeps something as long as the command line: what follows a module's events.
  void Keep(std::shared_ptr<const void> something) { kept_.push_back(std::move(something)); }
  /// An event, one line; what happens before "ready" is told behind it.
  void Tell(const std::string& event);

  /// Operates the simulated device behind the rig port; unset or empty answer: there is none.
  std::function<std::string(std::string_view command)> simulated_rig;

 private:
  using Handler = std::string (CommandLine::*)(std::string_view argument);
  struct Command {
    std::string_view name;
    Handler handler;
    std::string_view usage;
  };
  static const Command kCommands[];
  struct Added {
    std::string name;
    std::string usage;
    std::function<std::string(std::string_view argument)> handler;
    Procedure procedure;
    bool goes_beside = false;
  };
  struct Line {
    std::string text;
    bool last = false;      ///< no line: the input has ended
    bool answered = false;  ///< it has stopped what was to be stopped, and does so again behind what came before it
  };

  Task Run();
  Task RunBeside();
  Task CarryOut(std::string line);
  void CarryOutBeside(const std::string& line);
  void EndWhatGoesBeside();
  void Answer(const std::string& line);
  std::string Execute(std::string_view line);
  const Added* FindAdded(std::string_view name) const;
  void Follow(Field field);
  void Trace(Direction direction, std::string_view bytes);

  std::string DoStatus(std::string_view argument);
  std::string DoRig(std::string_view argument);
  std::string DoRigs(std::string_view argument);
  std::string DoSlot(std::string_view argument);
  std::string DoRigNumber(std::string_view argument);
  std::string DoPort(std::string_view argument);
  std::string DoSpeed(std::string_view argument);
  std::string DoFreq(std::string_view argument);
  std::string DoBase(std::string_view argument);
  std::string DoBand(std::string_view argument);
  std::string DoStep(std::string_view argument);
  std::string DoWheel(std::string_view argument);
  std::string DoMode(std::string_view argument);
  std::string DoNarrow(std::string_view argument);
  std::string DoVfo(std::string_view argument);
  std::string DoSend(std::string_view argument);
  std::string DoFunction(std::string_view argument);
  std::string DoFunctionValue(std::string_view argument);
  std::string DoSlider(std::string_view argument);
  std::string DoPoll(std::string_view argument);
  std::string DoLimits(std::string_view argument);
  std::string DoEscape(std::string_view argument);
  std::string DoLevels(std::string_view argument);
  std::string DoAnnounce(std::string_view argument);
  std::string DoMeter(std::string_view argument);
  std::string DoTrace(std::string_view argument);
  std::string DoDebug(std::string_view argument);
  std::string DoSay(std::string_view argument);
  std::string DoSim(std::string_view argument);
  std::string DoHelp(std::string_view argument);

  Loop& loop_;
  Station& station_;
  Output output_;
  std::vector<Added> added_;
  std::vector<std::shared_ptr<const void>> kept_;
  bool ready_ = false;
  std::deque<std::string> early_events_;
  std::deque<Line> lines_;
  Signal line_taken_;
  bool procedure_runs_ = false;     ///< that lines wait for
  std::deque<std::string> beside_;  ///< long procedures, the first one under way
  Console::Subscription subscription_;
  DebugLog::Listening trace_;
  bool recording_ = false;  ///< by `debug on`
  Task run_beside_;
  Task run_;
};

}  // namespace kvx::console
