#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>

#include "config/settings_file.h"
#include "core/text.h"
#include "fakes/file_size_limit.h"
#include "fakes/temporary_folder.h"
#include "fakes/virtual_loop.h"
#include "platform/posix/files.h"

namespace kvx::config {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using Stale = platform::Files::Stale;

struct Station : TemporaryFolder {
  VirtualLoop loop;
  platform::PosixFiles files;
  std::vector<std::string> notices;
  SettingsFile settings{loop, files, path(), [this](const std::string& line) { notices.push_back(line); }};

  std::unique_ptr<platform::Replacement> Hold() {
    return std::move(files.BeginReplace(*this / "rig.ini", *this / "Rig.$$$", Stale::kTakeOver).value());
  }
  /// Every file of the folder, so that nothing is left lying.
  std::string Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path())) names.push_back(entry.path().filename());
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

TEST(SettingsFile, OnAFullDiskALostFileIsRestoredAllTheSame) {
  const std::string saved = "XRIG=saved\nF1=" + std::string(50'000, 'x') + "\n";
  for (const bool read_first : {true, false}) {
    Station station;
    station.Put("Rig.$$$", saved);
    const FileSizeLimit limit(10'000);
    if (read_first) {
      EXPECT_EQ(station.settings.Read().text("XRIG="), "SAVED");
    }
    const Task task = station.settings.Rewrite({{"GMT=", "1"}});
    station.loop.RunFor(5s);
    EXPECT_FALSE(station.settings.saved());
    EXPECT_EQ(station.Get("rig.ini"), saved);
    EXPECT_EQ(station.Names(), "rig.ini ");
    EXPECT_EQ(station.notices.size(), 2U) << "restored, and not written";
  }
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

/// Reads, then rewrites for ever: both keys always carry the same number, and the padding makes a write take its time.
[[noreturn]] void RewriteForEver(const std::filesystem::path& folder, bool read_first) {
  VirtualLoop loop;
  platform::PosixFiles files;
  SettingsFile settings(loop, files, folder, [](const std::string&) {});
  if (read_first) settings.Read();
  for (int i = 1;; ++i) {
    const Task task = settings.Rewrite({{"RIGPORT=", NumberText(i)},
                                        {"F1=", std::string(100'000, static_cast<char>('A' + i % 26))},
                                        {"PADDLECOM=", NumberText(i)}});
    loop.RunFor(10s);
  }
}

/// Kills such a process after a while. As long as `seen_any` is false it gets more time each round: a busy machine must
/// not let the test see nothing.
void KillRewriting(const std::filesystem::path& folder, bool read_first, useconds_t after, int round, bool seen_any) {
  const pid_t child = fork();
  if (child == 0) RewriteForEver(folder, read_first);
  usleep(seen_any ? after : after * static_cast<useconds_t>(round + 1));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
}

TEST(SettingsFile, KilledAtAnyMomentTheOldOrTheNewFileIsThereWhole) {
  const TemporaryFolder folder;
  std::mt19937 random(7);
  std::int64_t last = 0;
  int left_locks = 0;
  for (int round = 0; round < 50; ++round) {
    KillRewriting(folder.path(), true, 2000 + random() % 12'000, round, last > 0);
    left_locks += std::filesystem::exists(folder / "Rig.$$$") ? 1 : 0;
    const std::string content = folder.Get("rig.ini");
    if (content.empty()) continue;  // the first rewrite had not come to its end
    const Settings settings = Settings::Parse(content);
    ASSERT_EQ(settings.text("F1=").size(), 100'000U);
    ASSERT_EQ(settings.text("F1=").find_first_not_of(settings.text("F1=")[0]), std::string::npos);
    ASSERT_GT(settings.number("RIGPORT="), 0);
    ASSERT_EQ(settings.number("RIGPORT="), settings.number("PADDLECOM="));
    last = settings.number("RIGPORT=");
  }
  EXPECT_GT(last, 0) << "no rewrite ever came to its end: the test saw nothing";
  RecordProperty("left_locks", left_locks);
}

TEST(SettingsFile, KilledWhileItRestoresALostFileThatFileIsThereWhole) {
  const std::string saved = "F1=" + std::string(8'000'000, 'S') + "\nRIGPORT= 1\n";
  std::mt19937 random(7);
  int restored = 0;
  for (int round = 0; round < 40; ++round) {
    const TemporaryFolder folder;
    folder.Put("Rig.$$$", saved);  // rig.ini had been deleted when its writer died
    KillRewriting(folder.path(), round % 2 == 0, random() % 30'000, round, restored > 0);
    const bool there = std::filesystem::exists(folder / "rig.ini");
    restored += there ? 1 : 0;
    const std::string content = folder.Get(there ? "rig.ini" : "Rig.$$$");
    const bool rewritten = content.find("\nPADDLECOM=") != std::string::npos && content.ends_with('\n');
    ASSERT_TRUE(content == saved || rewritten) << content.size() << " bytes left in round " << round;
  }
  EXPECT_GT(restored, 0) << "no child came so far: the test saw nothing";
}

}  // namespace
}  // namespace kvx::config
