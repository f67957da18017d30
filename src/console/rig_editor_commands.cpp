#include "console/rig_editor_commands.h"

#include <array>
#include <functional>
#include <memory>

#include "cat/command_keys.h"
#include "cat/command_template.h"
#include "console/answers.h"
#include "console/rig_editor.h"
#include "console/rig_exchange.h"
#include "core/text.h"

namespace kvx::console {
namespace {

constexpr std::string_view kUsage =
    "show NAME [FIELD] | set NAME FIELD TEXT | new NAME | copy NAME NEW | rename NAME NEW | delete NAME | "
    "import FILE [replace] | export FILE [NAME]: edit rig definitions; a name with blanks goes in \"quotes\"";

constexpr std::size_t kMostNamed = 12;  // rigs in an answer

using Reply = std::shared_ptr<std::string>;

std::string Answer(const Status& status, const std::string& done) {
  return status ? "ok " + done : Fail(status.error().message);
}

/// Takes the first word off `text`; "a word in quotes" may hold blanks, and "" in it is one quote.
std::string TakeWord(std::string_view& text) {
  text = Trim(text);
  std::string word;
  if (!text.starts_with('"')) {
    const std::size_t end = std::min(text.find_first_of(" \t"), text.size());
    word = text.substr(0, end);
    text = Trim(text.substr(end));
    return word;
  }
  text.remove_prefix(1);
  while (!text.empty()) {
    const bool quote = text.front() == '"';
    if (quote && !text.substr(1).starts_with('"')) break;
    word += text.front();
    text.remove_prefix(quote ? 2 : 1);
  }
  text = Trim(text.substr(std::min<std::size_t>(text.size(), 1)));
  return word;
}

std::string Joined(const std::vector<std::string>& names) {
  const std::size_t named = std::min(names.size(), kMostNamed);
  std::string joined;
  for (std::size_t i = 0; i < named; ++i) joined += (joined.empty() ? "" : ", ") + OneLine(names[i]);
  return named == names.size() ? joined : joined + " and " + std::to_string(names.size() - named) + " more";
}

std::string Rigs(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " rig" : " rigs");
}

std::string Show(RigEditor& editor, std::string_view arguments) {
  const std::string name = TakeWord(arguments);
  if (const Status opened = editor.Open(name); !opened) return Fail(opened.error().message);
  if (arguments.empty()) {
    std::string json;
    for (const config::RigField& field : config::RigFields()) {
      const std::string text = editor.Text(field.name);
      if (!text.empty()) json += (json.empty() ? "" : ",") + JsonString(field.name) + ":" + JsonString(text);
    }
    return "ok {" + json + "}";
  }
  const std::string field = TakeWord(arguments);
  if (config::FindRigField(field) == nullptr) return Fail("there is no field \"" + OneLine(field, 40) + "\"");
  return "ok " + editor.Text(field);
}

std::string SetField(RigEditor& editor, std::string_view arguments) {
  const std::string name = TakeWord(arguments);
  const std::string field = TakeWord(arguments);
  if (field.empty()) return Fail("rigdef set takes a rig, a field and its text");
  if (const Status opened = editor.Open(name); !opened) return Fail(opened.error().message);
  if (const Status set = editor.Set(field, arguments); !set) return Fail(set.error().message);
  return Answer(editor.Save(), OneLine(editor.name()) + " " + field + " " + editor.Text(field));
}

std::string New(RigEditor& editor, std::string_view arguments) {
  const std::string name = TakeWord(arguments);
  if (const Status begun = editor.New(name); !begun) return Fail(begun.error().message);
  return Answer(editor.Save(), name);
}

std::string Copy(RigEditor& editor, std::string_view arguments) {
  const std::string name = TakeWord(arguments);
  const std::string copy = TakeWord(arguments);
  if (const Status opened = editor.Open(name); !opened) return Fail(opened.error().message);
  if (const Status copied = editor.CopyAs(copy); !copied) return Fail(copied.error().message);
  return Answer(editor.Save(), copy);
}

std::string Rename(RigEditor& editor, std::string_view arguments) {
  const std::string name = TakeWord(arguments);
  const std::string new_name = TakeWord(arguments);
  return Answer(editor.Rename(name, new_name), new_name);
}

std::string Delete(RigEditor& editor, std::string_view arguments) {
  const std::string name = TakeWord(arguments);
  return Answer(editor.Delete(name), "deleted " + OneLine(name));
}

void TakeRigs(RigEditor& editor, const RigExchange::Read& read, const Reply& reply) {
  const auto done = [&station = editor.station(), &files = editor.files(), read, reply](const Status& imported) {
    if (!imported) return void(reply->assign(Fail(imported.error().message)));
    const auto& existing = read->existing;
    const std::string sentence = Rigs(read->rows.size()) + (existing.empty() ? "" : ", replaced " + Joined(existing));
    reply->assign(Answer(RigEditor(station, files).Replaced(read->rows), sentence));
  };
  RigExchange(editor.station(), editor.files()).Import(read, done);
}

void Import(RigEditor& editor, std::string_view arguments, const Reply& reply) {
  const platform::Path file = editor.station().folder() / TakeWord(arguments);
  const bool replace = EqualNoCase(Trim(arguments), "replace");
  const auto done = [&station = editor.station(), &files = editor.files(), replace,
                     reply](const Result<RigExchange::Read>& read) {
    if (!read) return void(reply->assign(Fail(read.error().message)));
    const auto& existing = (*read)->existing;
    if (!existing.empty() && !replace)
      return void(reply->assign(
          Fail("there already: " + Joined(existing) + "; with \"replace\" behind the file they are replaced")));
    RigEditor followed(station, files);
    TakeRigs(followed, *read, reply);
  };
  RigExchange(editor.station(), editor.files()).ReadCsv(file, done);
}

void Export(RigEditor& editor, std::string_view arguments, const Reply& reply) {
  const std::string file = TakeWord(arguments);
  if (file.empty()) return void(reply->assign(Fail("rigdef export takes a file")));
  const std::string name = TakeWord(arguments);
  const platform::Path path = editor.station().folder() / file;
  const auto done = [path, reply](const Result<int>& count) {
    *reply =
        count ? "ok " + Rigs(static_cast<std::size_t>(*count)) + " to " + path.string() : Fail(count.error().message);
  };
  RigExchange(editor.station(), editor.files())
      .Export(path, name.empty() ? std::vector<std::string>{} : std::vector{name}, done);
}

struct Verb {
  std::string_view name;
  std::string (*run)(RigEditor& editor, std::string_view arguments);
};
constexpr std::array kVerbs{Verb{"show", Show}, Verb{"set", SetField},  Verb{"new", New},
                            Verb{"copy", Copy}, Verb{"rename", Rename}, Verb{"delete", Delete}};

/// Import and export go on in the queue of the store.
Task RigDefinitions(std::reference_wrapper<Station> station, std::reference_wrapper<platform::Files> files,
                    std::string argument, Reply reply) {
  RigEditor editor(station, files);
  std::string_view arguments = argument;
  const std::string word = TakeWord(arguments);
  *reply = Fail("rigdef takes show, set, new, copy, rename, delete, import or export");
  for (const Verb& verb : kVerbs) {
    if (EqualNoCase(verb.name, word)) *reply = verb.run(editor, arguments);
  }
  const bool import = EqualNoCase(word, "import");
  if (!import && !EqualNoCase(word, "export")) co_return;
  import ? Import(editor, arguments, reply) : Export(editor, arguments, reply);
  Task done = station.get().functions.queue.Finish();
  co_await done;
}

std::string Preview(const Station& station, std::string_view argument) {
  if (argument.empty()) return Fail("preview takes a key or a template");
  const std::string text = FromVisible(argument);
  const bool key = cat::FindKey(text) != nullptr;
  const CommandPreview preview =
      PreviewCommand(station.console, station.engine.dispatcher.button_values(), station.engine.rig(),
                     key ? text : cat::SplitQuery(cat::CutBounds(text)).command);
  return preview.fault.empty() ? "ok " + preview.text : Fail(preview.fault);
}

}  // namespace

void AddRigEditorCommands(CommandLine& commands, Station& station, platform::Files& files) {
  commands.AddProcedure("rigdef", std::string(kUsage), [&station, &files](std::string argument, Reply reply) {
    return RigDefinitions(station, files, std::move(argument), std::move(reply));
  });
  commands.Add("preview", "KEY-OR-TEMPLATE: the bytes that it makes now for the rig in use",
               [&station](std::string_view argument) { return Preview(station, argument); });
}

}  // namespace kvx::console
