#include <gtest/gtest.h>
#include <sys/stat.h>

#include <span>
#include <vector>

#include "fakes/file_size_limit.h"
#include "fakes/other_process.h"
#include "fakes/temporary_folder.h"
#include "platform/posix/files.h"
#include "platform/wav_file.h"

namespace kvx::platform {
namespace {

using Stale = Files::Stale;

struct Folder : TemporaryFolder {
  std::size_t count() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path()), {}));
  }
  mode_t Mode(const std::string& name) const {
    struct stat file {};
    return stat((*this / name).c_str(), &file) == 0 ? file.st_mode & 07777 : 0;
  }
};

TEST(PosixFiles, AFileKeepsItsMode) {
  PosixFiles files;
  const Folder folder;
  folder.Put("rig.ini", "old");
  ASSERT_EQ(chmod((folder / "rig.ini").c_str(), 0640), 0);
  ASSERT_TRUE(files.Write(folder / "rig.ini", "new").ok());
  EXPECT_EQ(folder.Mode("rig.ini"), 0640U);
}

TEST(PosixFiles, ALockDiesWithItsHolder) {
  PosixFiles files;
  const Folder folder;
  const auto begin = [&] { return files.BeginReplace(folder / "rig.ini", folder / "Rig.$$$", Stale::kTakeOver); };
  OtherProcess holder([&] { static const auto held = begin(); });
  EXPECT_EQ(begin().error().code, ErrorCode::kBusy);
  holder.Kill();
  EXPECT_TRUE(begin().ok());
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

TEST(PosixFiles, OnAFullDiskTheOldFileStaysAndIsNamed) {
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
}

/// A link in the station folder may lead to a device.
TEST(PosixFiles, APipeOrADeviceIsNeitherReadNorReplacedByAFile) {
  PosixFiles files;
  const Folder folder;
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  std::filesystem::create_symlink("pipe", folder / "link");
  ASSERT_EQ(mkfifo((folder / "Rig.$$$").c_str(), 0600), 0);
  for (const Status& status : {files.Write(folder / "pipe", "new"), files.Write(folder / "link", "new")}) {
    ASSERT_FALSE(status.ok());
    EXPECT_EQ(status.error().message, (folder / "pipe").string() + " is no ordinary file");
  }
  EXPECT_FALSE(files.BeginReplace(folder / "rig.ini", folder / "Rig.$$$", Stale::kTakeOver).ok());
  EXPECT_TRUE(std::filesystem::is_fifo(folder / "pipe"));
  EXPECT_TRUE(std::filesystem::is_fifo(folder / "Rig.$$$"));
  EXPECT_EQ(folder.count(), 3U) << "nothing is left lying about";
  for (const std::filesystem::path& none : {folder / "pipe", std::filesystem::path("/dev/zero")})
    EXPECT_EQ(files.Read(none, 10).error().code, ErrorCode::kInvalid);
}

TEST(WavFile, IsBegunAnewWhileTheFirstRecordingStillGoesOn) {
  TemporaryFolder folder;
  const std::vector<std::int16_t> sound(9000, 1000);
  auto first = WavWriter::Create(folder / "b.wav", 8000);
  ASSERT_TRUE(first && first->Write(std::span(sound).first(300)));
  auto second = WavWriter::Create(folder / "b.wav", 8000);
  ASSERT_TRUE(second && second->Write(std::span(sound).first(100)));
  EXPECT_TRUE(first->Write(sound));
  EXPECT_TRUE(second->Close() && first->Close());
  auto alone = WavWriter::Create(folder / "c.wav", 8000);
  ASSERT_TRUE(alone && alone->Write(std::span(sound).first(100)) && alone->Close());
  EXPECT_EQ(folder.Get("b.wav"), folder.Get("c.wav"));
}

}  // namespace
}  // namespace kvx::platform
