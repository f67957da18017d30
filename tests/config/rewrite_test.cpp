#include <gtest/gtest.h>

#include "config/settings_file.h"
#include "core/text.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"
#include "fakes/virtual_loop.h"

namespace kvx::config {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using Stale = platform::Files::Stale;

struct Station : TemporaryFolder {
  VirtualLoop loop;
  SystemFiles files;
  std::vector<std::string> notices;
  SettingsFile settings{loop, files, path(), [this](const std::string& line) { notices.push_back(line); }};

  std::unique_ptr<platform::Replacement> Hold() {
    return std::move(files.BeginReplace(*this / "rig.ini", *this / "Rig.$$$", Stale::kTakeOver).value());
  }
  /// Every file of the folder, so that nothing is left lying.
  std::string Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path()))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    std::string all;
    for (const std::string& name : names) all += name + ' ';
    return all;
  }
};

TEST(SettingsFile, TheFirstRewriteMakesTheFileAndTheNextChangesIt) {
  Station station;
  EXPECT_FALSE(station.settings.Read().has("XRIG="));
  const Task first = station.settings.Rewrite({{"XRIG=", "TS-2000"}});
  EXPECT_TRUE(first.done() && station.settings.saved());
  const Task second = station.settings.Rewrite({{"XRIG=", "Orion"}, {"GMT=", NumberText(6)}});
  EXPECT_EQ(station.Get("rig.ini"), "XRIG=Orion\nGMT= 6\n");
  EXPECT_EQ(station.settings.Read().text("XRIG="), "ORION");
  EXPECT_TRUE(station.notices.empty());
  EXPECT_EQ(station.Names(), "rig.ini ");
}

TEST(SettingsFile, RewritesQueueBehindALockAndKeepTheirOrder) {
  Station station;
  auto other = station.Hold();
  const Task a = station.settings.Rewrite({{"XRIG=", "A"}, {"GMT=", "1"}});
  std::optional<Task> cancelled = station.settings.Rewrite({{"F1=", "never"}});
  const Task b = station.settings.Rewrite({{"XRIG=", "B"}});
  station.loop.RunFor(3s);
  EXPECT_FALSE(a.done() || b.done() || station.settings.saved());
  cancelled.reset();
  other.reset();
  station.loop.RunFor(200ms);
  EXPECT_TRUE(a.done() && b.done() && station.settings.saved());
  EXPECT_EQ(station.Get("rig.ini"), "XRIG=B\nGMT=1\n");
  EXPECT_TRUE(station.notices.empty());
}

TEST(SettingsFile, ALivingHolderIsWaitedForFiveSecondsAndReportedOnce) {
  Station station;
  station.Put("rig.ini", "XRIG=old\n");
  const auto other = station.Hold();
  const Task task = station.settings.Rewrite({{"XRIG=", "new"}});
  station.loop.RunFor(4950ms);
  EXPECT_FALSE(task.done());
  station.loop.RunFor(100ms);
  EXPECT_TRUE(task.done());
  EXPECT_FALSE(station.settings.saved());
  ASSERT_EQ(station.notices.size(), 1U);
  EXPECT_NE(station.notices[0].find("Rig.$$$"), std::string::npos);
  EXPECT_EQ(station.Get("rig.ini"), "XRIG=old\n");
}

TEST(SettingsFile, ALockLeftByACrashIsTakenOverInTime) {
  for (const std::string left : {"", "XRIG=ha", "XRIG=whole\n"}) {
    Station station;
    station.Put("rig.ini", "XRIG=old\nF1=keep\n");
    station.Put("Rig.$$$", left);  // fresh, and nobody holds it
    const Task task = station.settings.Rewrite({{"XRIG=", "new"}});
    EXPECT_FALSE(task.done()) << "a program that does not lock may still be writing it";
    station.loop.RunFor(5s);
    EXPECT_TRUE(task.done() && station.settings.saved());
    EXPECT_EQ(station.Get("rig.ini"), "XRIG=new\nF1=keep\n");
    EXPECT_EQ(station.Names(), "rig.ini ");
  }
}

TEST(SettingsFile, AFileLostBetweenDeleteAndRenameIsRestored) {
  const struct {
    const char* left;
    const char* rig;
  } cases[] = {{"XRIG=saved\n", "SAVED"}, {"XRIG=sav", ""}, {"", ""}};
  for (const auto& c : cases) {
    Station station;
    station.Put("Rig.$$$", c.left);
    EXPECT_EQ(station.settings.Read().text("XRIG="), c.rig) << c.left;
    const Task task = station.settings.Rewrite({{"GMT=", "1"}});
    station.loop.RunFor(5s);
    EXPECT_EQ(station.settings.Read().text("XRIG="), c.rig);
    EXPECT_EQ(station.settings.Read().number("GMT="), 1);
  }
  Station station;
  station.Put("Rig.$$$", "XRIG=saved\n");
  std::filesystem::create_hard_link(station / "Rig.$$$", station / "left");
  const Task task = station.settings.Rewrite({{"GMT=", "1"}});  // without reading before
  station.loop.RunFor(5s);
  EXPECT_EQ(station.Get("rig.ini"), "XRIG=saved\nGMT=1\n");
  EXPECT_EQ(station.Get("left"), "XRIG=saved\n") << "the only copy was written to";
  EXPECT_EQ(station.notices, std::vector<std::string>{"rig.ini was missing and has been restored from Rig.$$$"});
}

TEST(SettingsFile, AFileThatIsNoTextIsNamedAndKeptAside) {
  Station station;
  const std::string damaged = "XRIG=TS-2000\n\0\0\0GMT=3\n"s;
  station.Put("rig.ini", damaged);
  EXPECT_FALSE(station.settings.Read().has("XRIG="));
  ASSERT_EQ(station.notices.size(), 1U);
  EXPECT_NE(station.notices[0].find((station / "rig.ini").string()), std::string::npos);
  EXPECT_EQ(station.Get("rig.ini"), damaged) << "reading changes nothing";
  const Task task = station.settings.Rewrite({{"XRIG=", "new"}});
  EXPECT_EQ(station.Get("rig.ini"), "XRIG=new\n");
  EXPECT_EQ(station.Get("rig.ini.damaged"), damaged);
  EXPECT_EQ(station.notices.size(), 2U);
}

TEST(SettingsFile, AFailureIsANoticeAndLeavesEverything) {
  Station station;
  std::filesystem::create_directory(station / "rig.ini");
  EXPECT_FALSE(station.settings.Read().has("XRIG="));
  const Task task = station.settings.Rewrite({{"XRIG=", "new"}});
  EXPECT_TRUE(task.done());
  EXPECT_FALSE(station.settings.saved());
  EXPECT_EQ(station.notices.size(), 2U);
  EXPECT_EQ(station.Names(), "rig.ini ");
}

}  // namespace
}  // namespace kvx::config
