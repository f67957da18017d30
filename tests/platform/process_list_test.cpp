#include "platform/posix/process_list.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "fakes/temporary_folder.h"

namespace kvx::platform {
namespace {

using namespace std::string_literals;

bool Has(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

TEST(PosixProcessList, WindowsProgramsHaveTheirOwnNameHoweverWineShowsThem) {
  const TemporaryFolder proc;
  proc.Put("101/comm", "N1MMLogger.net.\n");
  proc.Put("101/cmdline", "C:\\Program Files\\N1MM Logger+\\N1MMLogger.net.exe\0"s);
  proc.Put("102/comm", "wine64-preloade\n");
  proc.Put("102/cmdline", "/usr/lib/wine/wine64-preloader\0/usr/lib/wine/wine64\0Z:\\sky\\CwSkimmer.exe\0/quiet\0"s);
  proc.Put("103/comm", "vim\n");
  proc.Put("103/cmdline", "vim\0Other.exe\0"s);
  proc.Put("104/comm", "kworker/0:1\n");
  proc.Put("104/cmdline", "");
  proc.Put("105/comm", "");
  std::filesystem::create_directory(proc / "106");
  proc.Put("self/cmdline", "Self.exe\0"s);
  const auto names = PosixProcessList(proc.path()).Names();
  EXPECT_TRUE(Has(names, "N1MMLogger.net.exe"));
  EXPECT_TRUE(Has(names, "CwSkimmer.exe"));
  EXPECT_TRUE(Has(names, "vim"));
  EXPECT_FALSE(Has(names, "Other.exe")) << "a file that somebody edits is no program that runs";
  EXPECT_FALSE(Has(names, "Self.exe") || Has(names, ""));
  EXPECT_TRUE(PosixProcessList(proc / "none").Names().empty());
}

TEST(PosixProcessList, ThisProgramIsFoundInTheRunningSystem) {
  EXPECT_TRUE(Has(PosixProcessList().Names(), "platform_test"));
}

}  // namespace
}  // namespace kvx::platform
