#include "console/tuner_commands.h"

#include <algorithm>

#include "console/answers.h"

namespace kvx::console {
namespace {

using accessories::kTunerFields;
using accessories::TunerNotebook;
using accessories::TunerRow;
using accessories::TunerSegment;
using accessories::TunerValues;

std::string SegmentJson(const TunerSegment& segment, const std::string& state, const TunerValues& values) {
  std::string json =
      "{" + Json("segment", segment.key) + "," + Json("range", RangeText(segment)) + "," + Json("state", state);
  for (std::size_t i = 0; i < values.size(); ++i) json += "," + Json(kTunerFields[i].control, values[i]);
  return json + "}";
}

std::string RowJson(const TunerRow& row) {
  return SegmentJson(*row.segment, row.unsaved ? "unsaved" : row.stored ? "stored" : "nothing stored", row.values);
}

std::string InHandJson(TunerNotebook& notebook) {
  const auto segment = notebook.InHand();
  return segment ? "ok " + SegmentJson(**segment, notebook.StateText(), notebook.fields())
                 : Fail(segment.error().message);
}

/// The segment of a frequency that is typed; null when it is none.
const TunerSegment* SegmentAt(std::string_view khz) {
  const auto frequency = ParseKhz(khz);
  return frequency && frequency->decihertz > 0 ? &accessories::SegmentOf(*frequency) : nullptr;
}

std::string Show(TunerNotebook& notebook, std::string_view khz) {
  if (khz.empty()) {
    const Status loaded = notebook.Load();
    return loaded ? InHandJson(notebook) : Fail(loaded.error().message);
  }
  const TunerSegment* const segment = SegmentAt(khz);
  if (segment == nullptr) return Fail("tuner show takes kHz, as in 14025.00");
  const auto rows = notebook.Rows();
  if (!rows) return Fail(rows.error().message);
  return "ok " + RowJson((*rows)[static_cast<std::size_t>(segment - accessories::kTunerSegments.data())]);
}

/// With `all` also the segments for which there is nothing.
std::string List(TunerNotebook& notebook, bool all) {
  const auto rows = notebook.Rows();
  if (!rows) return Fail(rows.error().message);
  std::string json;
  for (const TunerRow& row : *rows) {
    if (all || row.stored || row.unsaved) json += (json.empty() ? "" : ",") + RowJson(row);
  }
  return "ok [" + json + "]";
}

std::string Choose(TunerNotebook& notebook, std::string_view khz) {
  const TunerSegment* const segment = SegmentAt(khz);
  if (segment == nullptr && !EqualNoCase(khz, "follow"))
    return Fail("tuner segment takes kHz, as in 14025.00, or follow");
  const Status chosen = notebook.Choose(segment);
  return chosen ? InHandJson(notebook) : Fail(chosen.error().message);
}

std::string Set(TunerNotebook& notebook, std::string_view argument) {
  const auto [name, text] = FirstWord(argument);
  const auto field = accessories::TunerFieldOf(name);
  if (!field) return Fail("tuner set takes a field, Desc1, Xmtr1, Ind1, Ant1 and so on to 3, and its text");
  const auto segment = notebook.InHand();
  if (!segment) return Fail(segment.error().message);
  const Status edited = notebook.Edit(**segment, *field, std::string(text));
  return Say(edited,
             "tuner set " + std::string((*segment)->key) + " " + kTunerFields[*field].control + " " + OneLine(text));
}

std::string Drop(TunerNotebook& notebook) {
  const auto segment = notebook.InHand();
  return segment ? Say(notebook.Drop(**segment)) : Fail(segment.error().message);
}

std::string Tuner(TunerNotebook& notebook, std::string_view argument) {
  const auto [word, rest] = FirstWord(argument);
  const bool all = EqualNoCase(rest, "all");
  if (word.empty() || EqualNoCase(word, "show")) return Show(notebook, rest);
  if (EqualNoCase(word, "list") && (rest.empty() || all)) return List(notebook, all);
  if (EqualNoCase(word, "segment")) return Choose(notebook, rest);
  if (EqualNoCase(word, "set")) return Set(notebook, rest);
  if (EqualNoCase(word, "save") && (rest.empty() || all)) return Say(all ? notebook.SaveAll() : notebook.SaveIt());
  if (EqualNoCase(word, "drop") && rest.empty()) return Drop(notebook);
  if (EqualNoCase(word, "undo") && rest.empty()) return Say(notebook.UndoDrop());
  if (EqualNoCase(word, "export") && !rest.empty()) return Say(notebook.Export(platform::Path(rest)));
  if (EqualNoCase(word, "import") && !rest.empty()) return Say(notebook.Import(platform::Path(rest)));
  return Fail("tuner takes show, list, segment, set, save, drop, undo, export or import");
}

}  // namespace

void AddTunerCommands(CommandLine& commands, Station& station) {
  commands.Add("tuner",
               "[show [KHZ]]|list [all]|segment KHZ|segment follow|set FIELD TEXT|save [all]|drop|undo|export FILE|"
               "import FILE: antenna-tuner settings by frequency",
               [&station](std::string_view argument) { return Tuner(station.tuner_notebook, argument); });
}

}  // namespace kvx::console
