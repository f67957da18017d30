#include "platform/posix/files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>

#include "fakes/file_size_limit.h"
#include "fakes/temporary_folder.h"

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;
using Stale = Files::Stale;

struct Folder : TemporaryFolder {
  void Age(const std::string& name, std::chrono::seconds age) const {
    std::filesystem::last_write_time(*this / name, std::filesystem::file_time_type::clock::now() - age);
  }
  mode_t Mode(const std::string& name) const {
    struct stat file {};
    return stat((*this / name).c_str(), &file) == 0 ? file.st_mode & 07777 : 0;
  }
  std::size_t count() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path()), {}));
  }
};

TEST(PosixFiles, ReplacesWholeAndKeepsTheMode) {
  PosixFiles files;
  const Folder folder;
  folder.Put("rig.ini", "old");
  ASSERT_EQ(chmod((folder / "rig.ini").c_str(), 0640), 0);
  auto replacement = files.BeginReplace(folder / "rig.ini", folder / "Rig.$$$", Stale::kRespectYoung);
  ASSERT_TRUE(replacement.ok());
  EXPECT_TRUE(files.Exists(folder / "Rig.$$$"));
  EXPECT_EQ(folder.Get("rig.ini"), "old");
  ASSERT_TRUE((*replacement)->Commit("new").ok());
  EXPECT_EQ(folder.Get("rig.ini"), "new");
  EXPECT_EQ(folder.Mode("rig.ini"), 0640U);
  EXPECT_FALSE((*replacement)->Commit("again").ok());
  EXPECT_EQ(folder.count(), 1U);
}

TEST(PosixFiles, WithoutCommitTheOldFileStays) {
  PosixFiles files;
  const Folder folder;
  folder.Put("rig.ini", "old");
  files.BeginReplace(folder / "rig.ini", folder / "Rig.$$$", Stale::kRespectYoung).value().reset();
  EXPECT_EQ(folder.Get("rig.ini"), "old");
  EXPECT_EQ(folder.count(), 1U);
}

TEST(PosixFiles, ATemporaryFileIsTakenOverOnlyWhenItsHolderIsGone) {
  PosixFiles files;
  const Folder folder;
  const auto begin = [&](Stale stale) { return files.BeginReplace(folder / "rig.ini", folder / "Rig.$$$", stale); };
  {
    const auto held = begin(Stale::kTakeOver);
    ASSERT_TRUE(held.ok());
    folder.Age("Rig.$$$", 1h);
    EXPECT_EQ(begin(Stale::kTakeOver).error().code, ErrorCode::kBusy) << "held, however old it is";
  }
  folder.Put("Rig.$$$", "left by a program that does not lock");
  EXPECT_EQ(begin(Stale::kRespectYoung).error().code, ErrorCode::kBusy);
  EXPECT_EQ(folder.Get("Rig.$$$"), "left by a program that does not lock");
  folder.Age("Rig.$$$", 4s);
  EXPECT_TRUE(begin(Stale::kRespectYoung).ok());
  EXPECT_EQ(folder.count(), 0U);
  folder.Put("Rig.$$$", "young");
  ASSERT_TRUE(begin(Stale::kTakeOver).value()->Commit("new").ok());
  EXPECT_EQ(folder.Get("rig.ini"), "new");
  folder.Put("Rig.$$$", "from tomorrow, by a clock that was set back since");
  folder.Age("Rig.$$$", -24h);
  EXPECT_TRUE(begin(Stale::kRespectYoung).ok());
}

TEST(PosixFiles, AnAdoptedFileIsMovedAsItStandsAndTheNameIsFreeAgain) {
  PosixFiles files;
  const Folder folder;
  const auto begin = [&] { return files.BeginReplace(folder / "rig.ini", folder / "Rig.$$$", Stale::kTakeOver); };
  folder.Put("Rig.$$$", "left");
  std::filesystem::create_hard_link(folder / "Rig.$$$", folder / "same");
  auto adopting = begin();
  ASSERT_TRUE(adopting.value()->Adopt().ok());
  EXPECT_TRUE(std::filesystem::equivalent(folder / "rig.ini", folder / "same")) << "written anew instead";
  EXPECT_EQ(folder.Get("rig.ini"), "left");
  auto next = begin();
  ASSERT_TRUE(next.ok()) << "what has been adopted is no lock any more";
  EXPECT_FALSE((*adopting)->Adopt().ok() || (*adopting)->Commit("x").ok()) << "once only";
  adopting = Error{};
  ASSERT_TRUE((*next)->Commit("new").ok());
  EXPECT_EQ(folder.Get("rig.ini") + ' ' + folder.Get("same"), "new left");

  std::filesystem::create_directory(folder / "folder.ini");
  folder.Put("folder.ini/file", "");
  folder.Put("Rig.$$$", "only copy");
  EXPECT_FALSE(files.BeginReplace(folder / "folder.ini", folder / "Rig.$$$", Stale::kTakeOver).value()->Adopt().ok());
  EXPECT_EQ(folder.Get("Rig.$$$"), "only copy") << "a failure lost it";
}

TEST(PosixFiles, ALockDiesWithItsHolder) {
  PosixFiles files;
  const Folder folder;
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    const auto held = files.BeginReplace(folder / "rig.ini", folder / "Rig.$$$", Stale::kTakeOver);
    if (write(ready[1], held.ok() ? "y" : "n", 1) != 1) _exit(1);
    while (true) pause();
  }
  char answer = 0;
  ASSERT_EQ(read(ready[0], &answer, 1), 1);
  ASSERT_EQ(answer, 'y');
  const auto begin = [&] { return files.BeginReplace(folder / "rig.ini", folder / "Rig.$$$", Stale::kTakeOver); };
  EXPECT_EQ(begin().error().code, ErrorCode::kBusy);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(begin().ok());
  close(ready[0]);
  close(ready[1]);
}

TEST(PosixFiles, FollowsALinkAndReplacesWhatItLeadsTo) {
  PosixFiles files;
  const Folder folder;
  folder.Put("elsewhere/real.ini", "old");
  std::filesystem::create_symlink("elsewhere/real.ini", folder / "rig.ini");
  auto replacement = files.BeginReplace(folder / "rig.ini", folder / "Rig.$$$", Stale::kTakeOver);
  ASSERT_TRUE(replacement.value()->Commit("new").ok());
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "rig.ini"));
  EXPECT_EQ(folder.Get("elsewhere/real.ini"), "new");
  ASSERT_TRUE(files.Write(folder / "rig.ini", "newer").ok());
  EXPECT_EQ(folder.Get("elsewhere/real.ini"), "newer");
  EXPECT_EQ(folder.count(), 2U);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / "elsewhere"), {}), 1);
}

TEST(PosixFiles, AFailedWriteLeavesTheOldFileAndNamesIt) {
  PosixFiles files;
  const Folder folder;
  folder.Put("rig.ini", "old");
  Status status = Ok();
  {
    const FileSizeLimit limit(10'000);
    status = files.Write(folder / "rig.ini", std::string(50'000, 'x'));
  }
  ASSERT_FALSE(status.ok());
  EXPECT_NE(status.error().message.find((folder / "rig.ini").string()), std::string::npos);
  EXPECT_NE(status.error().message.find("File too large"), std::string::npos);
  EXPECT_EQ(folder.Get("rig.ini"), "old");
  EXPECT_EQ(folder.count(), 1U);
  const Status no_folder = files.Write(folder / "missing/rig.ini", "x");
  ASSERT_FALSE(no_folder.ok());
  EXPECT_EQ(no_folder.error().code, ErrorCode::kNotFound);
  std::filesystem::create_directory(folder / "sub");
  EXPECT_FALSE(files.Write(folder / "sub", "x").ok()) << "a folder is not replaced";
  EXPECT_EQ(folder.count(), 2U);
}

TEST(PosixFiles, ReadsOrdinaryFilesWithinALimit) {
  PosixFiles files;
  const Folder folder;
  const std::string content(100'000, '\0');
  folder.Put("a", content);
  EXPECT_EQ(*files.Read(folder / "a", 100'000), content);
  EXPECT_EQ(files.Read(folder / "a", 99'999).error().code, ErrorCode::kInvalid);
  EXPECT_EQ(files.Read(folder / "b", 10).error().code, ErrorCode::kNotFound);
  EXPECT_EQ(files.Read(folder.path(), 10).error().code, ErrorCode::kIo);
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(files.Read(folder / "pipe", 10).error().code, ErrorCode::kInvalid);
  EXPECT_EQ(files.Read("/dev/zero", 10).error().code, ErrorCode::kInvalid);
}

TEST(PosixFiles, MovesAsideToANameThatIsFree) {
  PosixFiles files;
  const Folder folder;
  ASSERT_TRUE(files.MakeFolder(folder / "x/y").ok());
  for (int i = 0; i < 3; ++i) {
    folder.Put("x/y/a", std::to_string(i));
    ASSERT_TRUE(files.Rename(folder / "x/y/a", SetAsideName(files, folder / "x/y/a")).ok());
  }
  EXPECT_EQ(folder.Get("x/y/a.damaged") + folder.Get("x/y/a.damaged.2") + folder.Get("x/y/a.damaged.3"), "012");
  EXPECT_EQ(files.Rename(folder / "none", folder / "x").error().code, ErrorCode::kNotFound);
  folder.Put("file", "");
  EXPECT_FALSE(files.MakeFolder(folder / "file/sub").ok());
}

}  // namespace
}  // namespace kvx::platform
