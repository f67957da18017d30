#include <gtest/gtest.h>

#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;
using Stale = Files::Stale;

struct Folder : TemporaryFolder {
  void Age(const std::string& name, std::chrono::seconds age) const {
    std::filesystem::last_write_time(*this / name, std::filesystem::file_time_type::clock::now() - age);
  }
  std::size_t count() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path()), {}));
  }
};

TEST(Files, ReplacesWhole) {
  SystemFiles files;
  const Folder folder;
  folder.Put("rig.ini", "old");
  auto replacement = files.BeginReplace(folder / "rig.ini", folder / "Rig.$$$", Stale::kRespectYoung);
  ASSERT_TRUE(replacement.ok());
  EXPECT_TRUE(files.Exists(folder / "Rig.$$$"));
  EXPECT_EQ(folder.Get("rig.ini"), "old");
  ASSERT_TRUE((*replacement)->Commit("new").ok());
  EXPECT_EQ(folder.Get("rig.ini"), "new");
  EXPECT_FALSE((*replacement)->Commit("again").ok());
  EXPECT_EQ(folder.count(), 1U);
}

TEST(Files, WithoutCommitTheOldFileStays) {
  SystemFiles files;
  const Folder folder;
  folder.Put("rig.ini", "old");
  files.BeginReplace(folder / "rig.ini", folder / "Rig.$$$", Stale::kRespectYoung).value().reset();
  EXPECT_EQ(folder.Get("rig.ini"), "old");
  EXPECT_EQ(folder.count(), 1U);
}

TEST(Files, ATemporaryFileIsTakenOverOnlyWhenItsHolderIsGone) {
  SystemFiles files;
  const Folder folder;
  const auto begin = [&](Stale stale) { return files.BeginReplace(folder / "rig.ini", folder / "Rig.$$$", stale); };
  folder.Put("Rig.$$$", "");
  folder.Age("Rig.$$$", 1h);
  {
    const auto held = begin(Stale::kTakeOver);
    ASSERT_TRUE(held.ok());
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

TEST(Files, AnAdoptedFileIsMovedAsItStandsAndTheNameIsFreeAgain) {
  SystemFiles files;
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

TEST(Files, AFailedWriteNamesTheFileAndLeavesNothing) {
  SystemFiles files;
  const Folder folder;
  const Status no_folder = files.Write(folder / "missing/rig.ini", "x");
  ASSERT_FALSE(no_folder.ok());
  EXPECT_EQ(no_folder.error().code, ErrorCode::kNotFound);
  EXPECT_NE(no_folder.error().message.find((folder / "missing/rig.ini").string()), std::string::npos);
  std::filesystem::create_directory(folder / "rig.ini");
  EXPECT_FALSE(files.Write(folder / "rig.ini", "x").ok()) << "a folder is not replaced";
  EXPECT_EQ(folder.count(), 1U);
}

TEST(Files, ReadsOrdinaryFilesWithinALimit) {
  SystemFiles files;
  const Folder folder;
  const std::string content(100'000, '\0');
  folder.Put("a", content);
  EXPECT_EQ(*files.Read(folder / "a", 100'000), content);
  EXPECT_EQ(files.Read(folder / "a", 99'999).error().code, ErrorCode::kInvalid);
  EXPECT_EQ(files.Read(folder / "b", 10).error().code, ErrorCode::kNotFound);
  EXPECT_EQ(files.Read(folder.path(), 10).error().code, ErrorCode::kIo);
}

TEST(Files, MovesAsideToANameThatIsFree) {
  SystemFiles files;
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
