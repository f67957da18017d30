#include "console/memory_commands.h"

#include <array>
#include <functional>
#include <limits>
#include <memory>

#include "console/answers.h"
#include "core/text.h"
#include "functions/function_columns.h"

namespace kvx::console {
namespace {

using functions::FunctionRecord;
using functions::MemoryChannel;
using Answer = std::shared_ptr<std::string>;
using Done = functions::FunctionMemory::Done;

/// Something that another program's writing may delay: its answer is there when the store is written.
using Operation = std::function<void(const std::string& argument, const Done& done)>;

Task Run(std::reference_wrapper<Station> station, Operation operation, std::string argument, Answer answer) {
  operation(argument, [answer](const Result<std::string>& done) { *answer = Say(done); });
  Task written = station.get().functions.queue.Finish();
  co_await written;
}

void AddOperation(CommandLine& commands, Station& station, std::string name, std::string usage, Operation operation) {
  commands.AddProcedure(std::move(name), std::move(usage),
                        [&station, operation = std::move(operation)](std::string argument, Answer answer) {
                          return Run(station, operation, std::move(argument), std::move(answer));
                        });
}

std::string RowJson(const FunctionRecord& row) {
  std::string json = "{\"row\":" + std::to_string(row.place) + "," + Json("RigName", row.rig) + "," +
                     Json("Freq", row.freq) + "," + Json("Mode", row.mode);
  for (std::size_t i = 0; i < row.texts.size(); ++i) {
    const std::string number = std::to_string(i + 1);
    json += "," + JsonString("FNT" + number) + ":" + (row.texts[i] ? JsonString(*row.texts[i]) : "null");
    json += "," + JsonString("FNP" + number) + ":" + (row.presses[i] ? "true" : "false");
  }
  return json + "," + Json("Scan", row.scan) + "," + Json("Desc", row.description) + "}";
}

/// A list of rows on its way.
struct Page {
  functions::RowReader reader;
  std::int64_t left;  ///< how many rows are still wanted
  std::string json;
};

Result<bool> ReadOn(Page& page) {
  const auto last = page.reader.ReadSome();
  if (!last) return last;
  for (const FunctionRecord& row : page.reader.rows) {
    if (page.left == 0) return true;
    page.json += (page.json.empty() ? "" : ",") + RowJson(row);
    --page.left;
    if (page.json.size() + 5 > CommandLine::kLongestAnswer)
      return Error{ErrorCode::kInvalid, "the rows are more than an answer of 16 MB holds: fnlist FROM COUNT"};
  }
  return *last || page.left == 0;
}

/// All rows, or a page of them: "101 50" are fifty from the 101st on.
Task List(std::reference_wrapper<Station> station, std::string argument, Answer answer) {
  constexpr std::int64_t kMost = 1'000'000'000;
  const auto [from_text, count_text] = FirstWord(argument);
  const auto from = from_text.empty() ? std::optional<std::int64_t>(1) : ParseNumber(from_text, 1, kMost);
  const auto count = count_text.empty() ? std::optional(kMost) : ParseNumber(count_text, 1, kMost);
  *answer = Fail("fnlist takes nothing, or the first row and how many: fnlist 101 50");
  if (!from || !count) co_return;
  functions::FunctionKeys& fn = station.get().functions;
  const auto page = std::make_shared<Page>(Page{fn.store.Reader(), *count, {}});
  page->reader.Skip(*from - 1);
  const auto done = [page, answer](const Status& status) {
    *answer = status ? "ok [" + page->json + "]" : Fail(status.error().message);
  };
  fn.queue.DoInPieces([page] { return ReadOn(*page); }, done);
  Task read = fn.queue.Finish();
  co_await read;
}

/// A row of the list: "#12" as the list numbers it, or that of the rig in use on a frequency in any form of kHz.
Result<FunctionRecord> RowOf(Station& station, std::string_view which) {
  if (which.starts_with('#')) {
    const auto place = ParseNumber(which.substr(1), 1, std::numeric_limits<std::int64_t>::max());
    auto row = place ? station.functions.store.At(*place) : Result<std::optional<FunctionRecord>>(std::nullopt);
    if (!row) return row.error();
    if (!*row) return Error{ErrorCode::kNotFound, "there is no row " + OneLine(which, 40)};
    return **row;
  }
  if (*station.console.RigName == "NONE") return Error{ErrorCode::kInvalid, "no rig is selected"};
  const auto frequency = ParseKhz(which);
  if (!frequency) return Error{ErrorCode::kInvalid, "\"" + OneLine(which, 40) + "\" is no frequency in kHz"};
  auto found = station.functions.store.Find(*station.console.RigName, KhzText(*frequency));
  if (!found) return found.error();
  if (!*found) return Error{ErrorCode::kNotFound, "nothing is stored for " + KhzText(*frequency)};
  return **found;
}

/// Sets one field of a row by its name; false when it is none that can be set, or not to that value.
bool SetField(FunctionRecord& row, std::string_view field, const std::string& text) {
  const auto column = functions::ColumnOf(field);
  return column && *column >= functions::kModeColumn && functions::SetFieldText(row, *column, text);
}

void SetRow(Station& station, const std::string& argument, const Done& done) {
  const auto [which, rest] = FirstWord(argument);
  const auto [field, text] = FirstWord(rest);
  const auto row = RowOf(station, which);
  if (!row) return done(row.error());
  FunctionRecord changed = *row;
  if (!SetField(changed, field, std::string(text)))
    return done(
        Error{ErrorCode::kInvalid, "fnset takes KHZ or #ROW, Mode, Scan, Desc, FNT1..9 or FNP1..9, and a value"});
  station.functions.keys.ChangeRow(*row, changed, done);
}

void DeleteRow(Station& station, const std::string& which, const Done& done) {
  if (which.empty()) return station.functions.keys.DelFN(done);
  const auto row = RowOf(station, which);
  return row ? station.functions.keys.DeleteRows({*row}, done) : done(row.error());
}

std::string Recall(Station& station) {
  const auto row = RowOf(station, KhzText(*station.console.FreqDisp));
  if (!row) return Fail(row.error().message);
  station.functions.scanner.OperatorActs();
  station.functions.keys.GetFN();
  return "ok recall " + row->freq + " " + OneLine(row->mode);
}

std::string Retrieve(Station& station, std::string_view which) {
  const auto row = RowOf(station, Trim(which));
  if (!row) return Fail(OneLine(row.error().message));
  const auto outcome = station.functions.keys.Retrieve(*row);
  if (!outcome) return Fail(OneLine(outcome.error().message));
  return Say(*outcome, station, "retrieve " + OneLine(row->freq) + " " + OneLine(row->mode));
}

std::string SetText(Station& station, std::string_view argument) {
  const auto [word, text] = FirstWord(argument);
  const auto number = ParseNumber(word, 1, config::kFunctions);
  if (!number) return Fail("fntext takes 1 to 9 and a text");
  station.console.Text5.Set(static_cast<std::size_t>(*number - 1), std::string(text));
  return "ok fntext " + std::to_string(*number) + " " + OneLine(text);
}

void AddFunctionCommands(CommandLine& commands, Station& station) {
  functions::FunctionKeys& fn = station.functions;
  commands.Add("fntext", "1..9 TEXT: the text of a function-key box",
               [&station](std::string_view argument) { return SetText(station, argument); });
  AddOperation(commands, station, "store", "[NOTE]: the boxes and the mode for this frequency; 1..9 marks that key",
               [&fn](const std::string& note, const Done& done) { fn.keys.StoreFN(note, done); });
  commands.Add("recall", "what is stored for this frequency", [&station](std::string_view) { return Recall(station); });
  AddOperation(commands, station, "delete", "[KHZ|#ROW]: what is stored for this frequency, or for that one",
               [&station](const std::string& which, const Done& done) { DeleteRow(station, which, done); });
  AddOperation(commands, station, "undelete", "puts back what was deleted last",
               [&fn](const std::string&, const Done& done) { fn.keys.UndoDelete(done); });
  commands.Add("retrieve", "KHZ|#ROW: tunes to a row of the list and sets its mode",
               [&station](std::string_view which) { return Retrieve(station, which); });
  commands.AddProcedure("fnlist", "[FROM COUNT]: all that is stored, of every rig, or so many rows from that one on",
                        [&station](std::string argument, Answer answer) {
                          return List(station, std::move(argument), std::move(answer));
                        });
  AddOperation(commands, station, "fnset",
               "KHZ|#ROW FIELD TEXT: changes a field of a row: Mode, Scan, Desc, FNT1.., FNP1..",
               [&station](const std::string& argument, const Done& done) { SetRow(station, argument, done); });
  AddOperation(commands, station, "fnexport", "all rows to RigFunctions.CSV",
               [&fn](const std::string&, const Done& done) { fn.exchange.Export(done); });
  AddOperation(commands, station, "fnimport", "RigFunctions.CSV, all lines or none",
               [&fn](const std::string&, const Done& done) { fn.exchange.Import(done); });
}

/// One setting of the scan; false when there is none of that name, or not with that value.
bool ScanSetting(functions::ScanSettings& settings, std::string_view word, std::string_view value) {
  const auto bounded = [value = value](Duration least) {
    using std::chrono::milliseconds;
    constexpr auto kLongest = std::chrono::duration_cast<milliseconds>(functions::kLongestScanTime);
    return ParseNumber(value, std::chrono::duration_cast<milliseconds>(least).count(), kLongest.count());
  };
  const auto dwell = bounded(functions::kShortestDwell);
  const auto milliseconds = bounded({});
  if (EqualNoCase(word, "up") || EqualNoCase(word, "down")) {
    settings.down = EqualNoCase(word, "down");
  } else if (EqualNoCase(word, "dwell") && dwell) {
    settings.dwell = std::chrono::milliseconds(*dwell);
  } else if (EqualNoCase(word, "hang") && milliseconds) {
    settings.hang = std::chrono::milliseconds(*milliseconds);
  } else if (EqualNoCase(word, "level") && (milliseconds || EqualNoCase(value, "off"))) {
    settings.level = milliseconds ? std::optional(static_cast<int>(*milliseconds)) : std::nullopt;
  } else {
    return false;
  }
  return true;
}

std::string Scan(functions::Scanner& scanner, std::string_view argument) {
  const auto [word, value] = FirstWord(argument);
  if (word.empty()) return "ok " + functions::ScanText(scanner.state());
  if (EqualNoCase(word, "start") && (value.empty() || EqualNoCase(value, "memories"))) {
    const auto source = value.empty() ? functions::ScanSource::kRows : functions::ScanSource::kMemories;
    return Say(scanner.Start(source), "scan " + Lower(argument));
  }
  if (EqualNoCase(word, "stop")) return scanner.Stop(), "ok scan stop";
  if (EqualNoCase(word, "skip")) return scanner.Skip(), "ok scan skip";
  const auto frequency = ParseKhz(value);
  const bool from = EqualNoCase(word, "from");
  if ((from || EqualNoCase(word, "to")) && frequency) {
    from ? scanner.SetStart(*frequency) : scanner.SetEnd(*frequency);
    return "ok scan " + Lower(word) + " " + KhzText(*frequency);
  }
  functions::ScanSettings settings = scanner.settings();
  if (!ScanSetting(settings, word, value))
    return Fail(
        "scan takes start, start memories, stop, skip, up, down, from KHZ, to KHZ, dwell 100..3600000, hang "
        "0..3600000 (ms), level N or level off");
  scanner.SetSettings(settings);
  return "ok scan " + Lower(argument);
}

std::string ChannelJson(int number, const MemoryChannel& channel) {
  return "{\"channel\":" + std::to_string(number) + "," + Json("name", channel.name) + "," +
         Json("freq", KhzText(channel.frequency)) + "," + Json("mode", channel.mode) +
         ",\"narrow\":" + (channel.narrow ? "true" : "false") + "," +
         Json("vfo", channel.vfo == 0 ? "" : std::string(1, channel.vfo)) +
         ",\"skip\":" + (channel.skip ? "true" : "false") + "," + Json("comment", channel.comment) + "}";
}

std::string ListChannels(const functions::MemoryChannels& memories) {
  std::string json;
  for (int number = 1; number <= functions::kChannels; ++number) {
    if (!memories.channel(number).empty())
      json += (json.empty() ? "" : ",") + ChannelJson(number, memories.channel(number));
  }
  return "ok [" + json + "]";
}

std::string RecallChannel(Station& station, int number) {
  const auto outcome = station.memories.Recall(number);
  if (!outcome) return Fail(outcome.error().message);
  const Console& console = station.console;
  return Say(*outcome, station,
             "memory recall " + std::to_string(number) + " " + KhzText(*console.FreqDisp) + " " +
                 std::string(Trim(*console.Mode)));
}

Status EditChannel(functions::MemoryChannels& memories, int number, std::string_view word, const std::string& text) {
  if (number < 1 || number > functions::kChannels || memories.channel(number).empty())
    return memories.SetName(number, text);  // which says why not
  MemoryChannel channel = memories.channel(number);
  if (EqualNoCase(word, "name")) channel.name = text;
  if (EqualNoCase(word, "comment")) channel.comment = text;
  if (EqualNoCase(word, "skip")) {
    const auto skip = OnOff(text);
    if (!skip) return Error{ErrorCode::kInvalid, "memory skip takes a channel and on or off"};
    channel.skip = *skip;
  }
  return memories.Change(number, channel);
}

/// The commands that name a channel.
std::string ChannelCommand(Station& station, std::string_view word, int number, std::string_view rest) {
  functions::MemoryChannels& memories = station.memories;
  const std::string done = "memory " + Lower(word) + " " + std::to_string(number);
  const std::string text(rest);
  if (EqualNoCase(word, "recall")) return RecallChannel(station, number);
  if (EqualNoCase(word, "delete")) return Say(memories.Delete(number), done);
  if (EqualNoCase(word, "store")) {
    const Status stored = memories.Store(number, text.empty() ? std::nullopt : std::optional(text));
    return Say(stored, done + " " + KhzText(*station.console.FreqDisp));
  }
  if (EqualNoCase(word, "move")) {
    const int to = static_cast<int>(ParseNumber(text, 1, functions::kChannels).value_or(0));
    return Say(memories.Move(number, to), done + " " + text);
  }
  return Say(EditChannel(memories, number, word, text), done + " " + OneLine(text));
}

/// "FILE", "FILE replace", "FILE keep".
std::string ImportChannels(functions::MemoryChannels& memories, std::string_view file) {
  using functions::Conflict;
  auto conflict = Conflict::kRefuse;
  const auto take = [&](std::string_view word, Conflict meant) {
    if (conflict != Conflict::kRefuse || !file.ends_with(word)) return;
    file.remove_suffix(word.size());
    conflict = meant;
  };
  take(" replace", Conflict::kReplace);
  take(" keep", Conflict::kKeep);
  return Say(memories.Import(platform::Path(Trim(file)), conflict));
}

std::string Memory(Station& station, std::string_view argument) {
  static constexpr std::array kOfChannel{"store", "recall", "name", "comment", "skip", "move", "delete"};
  functions::MemoryChannels& memories = station.memories;
  const auto [word, rest] = FirstWord(argument);
  if (word.empty() || EqualNoCase(word, "list")) return ListChannels(memories);
  if (EqualNoCase(word, "export") && !rest.empty()) return Say(memories.Export(platform::Path(rest)));
  if (EqualNoCase(word, "import") && !rest.empty()) {
    return ImportChannels(memories, rest);
  }
  if (EqualNoCase(word, "undo")) return Say(memories.Undo(), "memory undo");
  if (EqualNoCase(word, "vfotomem")) return Say(memories.VfoToMemory(), station, "memory vfotomem");
  if (EqualNoCase(word, "memtovfo")) return Say(memories.MemoryToVfo(), station, "memory memtovfo");
  if (EqualNoCase(word, "memch")) return Say(memories.MemoryChannelKey(), station, "memory memch");
  const auto [number, text] = FirstWord(rest);
  const auto channel = ParseNumber(number, 1, functions::kChannels);
  const bool known = std::any_of(kOfChannel.begin(), kOfChannel.end(),
                                 [word = word](std::string_view name) { return EqualNoCase(name, word); });
  if (!known)
    return Fail(
        "memory takes list, store, recall, name, comment, skip, move, delete, undo, export, import, "
        "vfotomem, memtovfo or memch");
  if (!channel) return Fail("memory channels are 1 to 100");
  return ChannelCommand(station, word, static_cast<int>(*channel), text);
}

}  // namespace

void AddMemoryCommands(CommandLine& commands, Station& station) {
  AddFunctionCommands(commands, station);
  commands.Add("scan", "start [memories]|stop|skip|up|down|from KHZ|to KHZ|dwell MS|hang MS|level N|level off",
               [&station](std::string_view argument) { return Scan(station.functions.scanner, argument); });
  commands.Add(
      "memory",
      "list|store N [NAME]|recall N|name N TEXT|comment N TEXT|skip N on|off|move N M|delete N|undo|export FILE|"
      "import FILE [replace|keep]|vfotomem|memtovfo|memch",
      [&station](std::string_view argument) { return Memory(station, argument); });
  commands.Keep(station.functions.scanner.changed.Follow(
      [&commands, &scanner = station.functions.scanner] { commands.Tell(functions::ScanText(scanner.state())); }));
}

}  // namespace kvx::console
