#include <array>
#include <set>

#include "cat_fixture.h"
#include "config/rig_setups.h"

namespace kvx::cat {
namespace {

// tests/data/rig_expectations/*.csv were written from the makers' command sets, not from the rows:
// rig,what,argument,expect. Bytes are text or, for a binary rig, pairs; an empty `expect` means that nothing may be
// sent. "modeb", "replyb", "freqb", ...: the same while VFO B is in use.
struct Expectation {
  std::string rig, what, argument, expect;
};

std::vector<Expectation> Expectations() {
  std::vector<Expectation> rows;
  for (const auto& file : std::filesystem::directory_iterator(KVX_TEST_DATA "/rig_expectations")) {
    for (const std::string& line : Split(ReadWhole(file.path()), '\n')) {
      if (line.empty() || line.starts_with("rig,") || line.starts_with("#")) continue;
      const std::vector<std::string> cells = Split(line, ',');
      EXPECT_EQ(cells.size(), 4U) << line;
      if (cells.size() == 4) rows.push_back({cells[0], cells[1], cells[2], cells[3]});
    }
  }
  return rows;
}

std::vector<config::RigSetup> Setups() {
  std::vector<config::RigSetup> setups;
  for (const auto& file : std::filesystem::directory_iterator(KVX_DATA "/rig_setups")) {
    const auto of_maker = config::ParseRigSetups(ReadWhole(file.path()));
    EXPECT_TRUE(of_maker.ok()) << file.path() << " " << of_maker.error().message;
    if (of_maker.ok()) setups.insert(setups.end(), of_maker->begin(), of_maker->end());
  }
  return setups;
}

std::string_view AfterBlank(std::string_view text) {
  return text.substr(std::min(text.find(' '), text.size() - 1) + 1);
}

int SliderByName(std::string_view name) {
  constexpr std::array<std::string_view, config::kSliders> kNames{
      "CWSPEED", "TONE", "ALPHA", "BRAVO", "CHAR", "MISC", "AFGAIN", "RFGAIN", "POWER", "FILTER", "NOTCH"};
  const auto* at = std::find(kNames.begin(), kNames.end(), name);
  EXPECT_NE(at, kNames.end()) << name;
  return static_cast<int>(at - kNames.begin()) + 1;
}

void PressFunction(Station& station, const std::string& argument) {
  const auto index = static_cast<std::size_t>(argument.at(0) - '1');
  const std::string state(argument.size() > 1 ? AfterBlank(argument) : "");
  if (state == "on" || state == "off") {
    station.console.FunctionState.Set(index, state == "off");
  } else {
    station.console.Text5.Set(index, state);
  }
  station.Send("XFN" + argument.substr(0, 1));
}

void MoveSlider(Station& station, const std::string& argument) {
  const int number = SliderByName(argument.substr(0, argument.find(' ')));
  const auto value = static_cast<int>(LeadingNumber(AfterBlank(argument)));
  const config::SliderBounds bounds = station.engine.rig().slider_bounds[static_cast<std::size_t>(number - 1)];
  EXPECT_TRUE(value >= bounds.minimum && value <= bounds.maximum) << "outside the bounds";
  station.console.Slider.Set(static_cast<std::size_t>(number - 1), value);
  station.Send(SliderKey(number)->key);
}

/// A reply, or "KEY>reply" for one that is read as the answer to a query; returns what the display then says of it.
std::string TakeReply(Station& station, const std::string& argument, const std::string& expect) {
  const std::string what = expect.substr(0, expect.find(' '));
  station.console.Mode.Set(expect == "mode CW" ? " USB" : "  CW");
  station.console.SMeter.Set(-1);
  const std::size_t arrow = argument.starts_with("X") ? argument.find('>') : std::string::npos;
  if (arrow != std::string::npos) {
    EXPECT_EQ(station.Send(argument.substr(0, arrow)), SendOutcome::kSent);
  }
  station.Arrive(arrow == std::string::npos ? argument : argument.substr(arrow + 1));
  if (what == "freq") return "freq " + KhzText(*station.console.FreqDisp);
  if (what == "freqb") return "freqb " + KhzText(*station.console.FreqB);
  if (what == "mode") return "mode " + std::string(Trim(*station.console.Mode));
  if (what == "smeter") return "smeter " + std::to_string(*station.console.SMeter);
  if (what != "slider") return "no such reply: " + what;
  const std::string name(AfterBlank(expect).substr(0, AfterBlank(expect).find(' ')));
  return "slider " + name + " " +
         std::to_string(station.console.Slider[static_cast<std::size_t>(SliderByName(name) - 1)]);
}

void Check(const Expectation& row) {
  Station station(row.rig);
  station.console.Polling.Set(false);
  const bool on_b = row.what.ends_with('b');
  const std::string_view what = std::string_view(row.what).substr(0, row.what.size() - (on_b ? 1 : 0));
  if (on_b) station.console.ActiveVfo.Set('B');
  if (what == "reply") {
    EXPECT_EQ(TakeReply(station, row.argument, row.expect), row.expect);
    return;
  }
  if (what == "freq") {
    station.engine.operations.TuneTo(*ParseKhz(row.argument));
  } else if (what == "mode") {
    station.Send("X" + row.argument);
  } else if (what == "vfo") {
    station.Send("XVFO" + row.argument);
  } else if (what == "transmit") {
    station.console.Transmitting.Set(row.argument == "Bravo");
    station.Send("xSet" + row.argument);
    if (!row.expect.empty()) {
      EXPECT_EQ(*station.console.Transmitting, row.argument == "Alpha");
    }
  } else if (what == "slider") {
    MoveSlider(station, row.argument);
  } else if (what == "query" || what == "meter" || what == "agc") {
    station.Send(row.argument);
  } else if (what == "function") {
    PressFunction(station, row.argument);
  } else if (what == "init") {
    station.engine.poller.Start();
    station.loop.RunFor(5s);
  } else {
    ADD_FAILURE() << "no such check: " << row.what;
  }
  EXPECT_EQ(station.Written(), row.expect);
  if (!row.expect.empty()) {
    EXPECT_EQ(*station.console.ErrorText, "");
  }
}

TEST(RigRows, PutOnTheWireWhatTheMakersCommandSetsSay) {
  std::set<std::string> checked;
  for (const Expectation& row : Expectations()) {
    SCOPED_TRACE(row.rig + "," + row.what + "," + row.argument);
    if (!ShippedRigs().contains(row.rig)) {
      ADD_FAILURE() << "no such rig";
      continue;
    }
    checked.insert(row.rig);
    Check(row);
  }
  for (const auto& [name, row] : ShippedRigs()) EXPECT_TRUE(checked.contains(name)) << name << " has no expectations";
}

/// What a rig is expected to send and to be understood by: `argument` -> `expect` of each check that is not "nothing".
class Checks {
 public:
  Checks(const std::vector<Expectation>& all, const std::string& rig) {
    for (const Expectation& row : all) {
      if (row.rig == rig && !row.expect.empty()) rows_.push_back(&row);
    }
  }
  bool Has(std::string_view what, std::string_view argument) const {
    return std::any_of(rows_.begin(), rows_.end(),
                       [&](const Expectation* row) { return row->what == what && row->argument == argument; });
  }
  bool HasReply(std::string_view start) const {
    return std::any_of(rows_.begin(), rows_.end(),
                       [&](const Expectation* row) { return row->what == "reply" && row->expect.starts_with(start); });
  }
  std::set<Frequency> frequencies() const {
    std::set<Frequency> result;
    for (const Expectation* row : rows_) {
      if (row->what == "freq") result.insert(*ParseKhz(row->argument));
    }
    return result;
  }

 private:
  std::vector<const Expectation*> rows_;
};

void CheckComplete(const config::RigRow& row, const config::RigSetup& setup, const Checks& checks) {
  if (!row["SetFreq"].empty()) {
    const std::set<Frequency> frequencies = checks.frequencies();
    EXPECT_GE(frequencies.size(), 5U) << "frequencies";
    for (const Frequency frequency : frequencies) EXPECT_TRUE(setup.Receives(frequency)) << KhzText(frequency);
    ASSERT_FALSE(setup.ranges.empty());
    EXPECT_TRUE(frequencies.contains(setup.ranges.front().low)) << "the lowest frequency";
    EXPECT_TRUE(frequencies.contains(setup.ranges.back().high)) << "the highest frequency";
  }
  struct Needed {
    std::string_view field, what, argument;
  };
  constexpr std::array kNeeded{
      Needed{"LSB", "mode", "LSB"}, Needed{"USB", "mode", "USB"},         Needed{"CWw", "mode", "CWW"},
      Needed{"CWn", "mode", "CWN"}, Needed{"AM", "mode", "AM"},           Needed{"FMw", "mode", "FMW"},
      Needed{"FMn", "mode", "FMN"}, Needed{"RTTY", "mode", "RTTY"},       Needed{"VFOA", "vfo", "A"},
      Needed{"VFOB", "vfo", "B"},   Needed{"Alpha", "transmit", "Alpha"}, Needed{"Bravo", "transmit", "Bravo"},
  };
  for (const Needed& needed : kNeeded) {
    EXPECT_EQ(checks.Has(needed.what, needed.argument), !row[needed.field].empty()) << needed.field;
  }
  constexpr std::array<std::pair<std::string_view, std::string_view>, 4> kReplies{
      {{"frequency", "freq "}, {"mode", "mode "}, {"meter", "smeter "}, {"vfob", "freqb "}}};
  for (const auto& [word, start] : kReplies) {
    const bool read = std::find(setup.replies.begin(), setup.replies.end(), word) != setup.replies.end();
    EXPECT_EQ(checks.HasReply(start), read) << word;
  }
}

TEST(RigRows, HaveASetupAndExpectationsOfWhateverTheyCanDo) {
  const std::vector<Expectation> expectations = Expectations();
  const std::vector<config::RigSetup> setups = Setups();
  for (const config::RigSetup& setup : setups) EXPECT_TRUE(ShippedRigs().contains(setup.rig)) << setup.rig;
  for (const auto& [name, row] : ShippedRigs()) {
    SCOPED_TRACE(name);
    const config::RigSetup* setup = config::FindRigSetup(setups, name);
    if (setup == nullptr) {
      ADD_FAILURE() << "no setup";
      continue;
    }
    CheckComplete(row, *setup, Checks(expectations, name));
  }
}

TEST(RigRows, NeverTransmitButFromXmt) {
  for (const auto& [name, row] : ShippedRigs()) {
    const std::string& transmit = row["Alpha"];
    if (transmit.empty()) continue;
    EXPECT_FALSE(row["Bravo"].empty()) << name << " can key the transmitter but not release it";
    for (const std::string_view field : config::kRigTextFields) {
      if (field == "Alpha") continue;
      EXPECT_EQ(row[field].find(transmit), std::string::npos) << name << " " << field;
    }
  }
}

TEST(RigRows, BinaryCommandsAreWholeBytes) {
  for (const auto& [name, row] : ShippedRigs()) {
    if (!row.send_as_hex) continue;
    Station station(name);
    for (const std::string_view field : config::kRigTextFields) {
      const std::string command = SplitQuery(CutBounds(row[field])).command;
      const bool is_command = field != "RigName" && field != "RigType" && !field.starts_with("Add") &&
                              field != "SSScan" && field != "MEMO3" && field.find("Desc") == std::string_view::npos;
      if (!is_command) continue;
      const std::string filled = ReplaceAll(ReplaceAll(command, "<F?VAL>", "0123"), "<CW-30>", "4351");
      for (const std::string& half : Split(filled, '/')) {
        station.engine.dispatcher.Encode(station.engine.dispatcher.FillIn(half));
        EXPECT_EQ(*station.console.ErrorText, "") << name << " " << field;
        EXPECT_EQ(WithoutBlanks(station.engine.dispatcher.FillIn(half)).size() % 2, 0U) << name << " " << field;
      }
    }
  }
}

}  // namespace
}  // namespace kvx::cat
