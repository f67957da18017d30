#include "platform/ports_file.h"

#include <gtest/gtest.h>

#include "fakes/temporary_folder.h"
#include "platform/posix/files.h"

namespace kvx::platform {
namespace {

using namespace std::string_literals;

TEST(PortTable, ReadsWhatAnOperatorTypes) {
  const PortTable table = PortTable::Parse(
      "\xEF\xBB\xBF"
      "COM1=/dev/serial/by-id/usb-Silicon_Labs_CP2102\r\n"
      "\r\n"
      "# the keyer\n"
      "  ; and the logger\n"
      "com3 = pty:/tmp/with = sign \n"
      "\tCom99=tcp:[::1]:4001");
  EXPECT_TRUE(table.complaints.empty());
  EXPECT_EQ(table.AddressOf(1), "/dev/serial/by-id/usb-Silicon_Labs_CP2102");
  EXPECT_EQ(table.AddressOf(3), "pty:/tmp/with = sign");
  EXPECT_EQ(table.AddressOf(99), "tcp:[::1]:4001");
  EXPECT_EQ(table.AddressOf(2), "/dev/ttyS1") << "no line";
}

TEST(PortTable, ComplainsOnceForEachLineItCannotUseAndKeepsTheRest) {
  const std::string bad[] = {"COM0=/dev/a",
                             "COM100=/dev/a",
                             "COM=/dev/a",
                             "COM 1=/dev/a",
                             "COMx=/dev/a",
                             "LPT1=/dev/a",
                             "COM1",
                             "COM1= ",
                             "=/dev/a",
                             "COM-1=/dev/a",
                             "COM1=\0"s,
                             "COM7=/dev/b",
                             "COM1=" + std::string(5000, 'x')};
  for (const std::string& line : bad) {
    const PortTable table = PortTable::Parse("COM7=/dev/g\n" + line + "\nCOM8=/dev/h\n");
    EXPECT_EQ(table.addresses, (std::map<int, std::string>{{7, "/dev/g"}, {8, "/dev/h"}})) << line;
    ASSERT_EQ(table.complaints.size(), 1U) << line;
    EXPECT_TRUE(table.complaints[0].starts_with("ports.ini line 2")) << table.complaints[0];
    EXPECT_LT(table.complaints[0].size(), 200U);
  }
  std::string many;
  for (int i = 0; i < 100'000; ++i) many += "?\n";
  EXPECT_LE(PortTable::Parse(many).complaints.size(), 100U);
}

TEST(PortTable, AMissingFileIsEmptyAndAnUnusableOneIsNamed) {
  const PosixFiles files;
  const TemporaryFolder station;
  EXPECT_TRUE(ReadPortTable(files, station.path()).complaints.empty());
  station.Put("ports.ini", "COM1=/dev/a\n\0\0"s);
  const PortTable binary = ReadPortTable(files, station.path());
  EXPECT_TRUE(binary.addresses.empty());
  ASSERT_EQ(binary.complaints.size(), 1U);
  EXPECT_NE(binary.complaints[0].find((station / "ports.ini").string()), std::string::npos);
  std::filesystem::remove(station / "ports.ini");
  std::filesystem::create_directory(station / "ports.ini");
  EXPECT_EQ(ReadPortTable(files, station.path()).complaints.size(), 1U);
}

}  // namespace
}  // namespace kvx::platform
