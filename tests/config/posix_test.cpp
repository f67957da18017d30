#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>

#include "config/settings_file.h"
#include "core/text.h"
#include "fakes/file_size_limit.h"
#include "fakes/virtual_loop.h"
#include "rig_database_fixture.h"

namespace kvx::config {
namespace {

using namespace std::chrono_literals;

TEST(SettingsFile, OnAFullDiskALostFileIsRestoredAllTheSame) {
  const std::string saved = "XRIG=saved\nF1=" + std::string(50'000, 'x') + "\n";
  for (const bool read_first : {true, false}) {
    VirtualLoop loop;
    SystemFiles files;
    const TemporaryFolder folder;
    int notices = 0;
    SettingsFile settings(loop, files, folder.path(), [&notices](const std::string&) { ++notices; });
    folder.Put("Rig.$$$", saved);
    const FileSizeLimit limit(10'000);
    if (read_first) {
      EXPECT_EQ(settings.Read().text("XRIG="), "SAVED");
    }
    const Task task = settings.Rewrite({{"GMT=", "1"}});
    loop.RunFor(5s);
    EXPECT_FALSE(settings.saved());
    EXPECT_EQ(folder.Get("rig.ini"), saved);
    EXPECT_FALSE(std::filesystem::exists(folder / "Rig.$$$"));
    EXPECT_EQ(notices, 2) << "restored, and not written";
  }
}

/// Reads, then rewrites for ever: both keys always carry the same number, and the padding makes a write take its time.
[[noreturn]] void RewriteForEver(const std::filesystem::path& folder, bool read_first) {
  VirtualLoop loop;
  SystemFiles files;
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

TEST(RigDatabase, KilledWhileItIsMadeTheStoreIsWholeOrNotThere) {
  RigStation station;
  station.PutOld();
  std::mt19937 random(5);
  int whole = 0;
  for (int round = 0; round < 40; ++round) {
    std::filesystem::remove(station.database.file());
    const pid_t child = fork();
    if (child == 0) _exit(station.Prepare().ok() ? 0 : 1);
    usleep(static_cast<useconds_t>(random() % 40'000));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    if (!std::filesystem::exists(station.database.file())) continue;
    ++whole;
    ASSERT_EQ(station.count(), 46U);
    ASSERT_EQ(station.Query("PRAGMA integrity_check"), "ok");
  }
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_EQ(station.count(), 46U);
  RecordProperty("whole", whole);
}

}  // namespace
}  // namespace kvx::config
