#include "platform/ports_file.h"

#include <gtest/gtest.h>

#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"

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
      "lpt2 = sim:lpt\n"
      "\tCom99=tcp:[::1]:4001");
  EXPECT_TRUE(table.complaints.empty());
  EXPECT_EQ(table.AddressOf(1), "/dev/serial/by-id/usb-Silicon_Labs_CP2102");
  EXPECT_EQ(table.AddressOf(3), "pty:/tmp/with = sign");
  EXPECT_EQ(table.AddressOf(99), "tcp:[::1]:4001");
  EXPECT_EQ(table.AddressOf(2), "/dev/ttyS1") << "no line";
  EXPECT_EQ(table.ParallelAddressOf(1) + " " + table.ParallelAddressOf(2), "/dev/parport0 sim:lpt");
}

TEST(PortTable, ComplainsOnceForEachLineItCannotUseAndKeepsTheRest) {
  const std::string bad[] = {"COM0=/dev/a",  "COM100=/dev/a",
                             "COM=/dev/a",   "COM 1=/dev/a",
                             "COMx=/dev/a",  "LPT4=/dev/a",
                             "LPT1=tcp:a:1", "COM1",
                             "COM1= ",       "=/dev/a",
                             "COM-1=/dev/a", "COM1=\0"s,
                             "COM7=/dev/b",  "COM1=" + std::string(5000, 'x')};
  for (const std::string& line : bad) {
    const PortTable table = PortTable::Parse("COM7=/dev/g\n" + line + "\nCOM8=/dev/h\n");
    EXPECT_EQ(table.addresses, (std::map<int, std::string>{{7, "/dev/g"}, {8, "/dev/h"}})) << line;
    ASSERT_EQ(table.complaints.size(), 1U) << line;
    EXPECT_TRUE(table.complaints[0].starts_with("ports.ini line 2")) << table.complaints[0];
    EXPECT_LT(table.complaints[0].size(), 200U);
  }
  EXPECT_EQ(PortTable::Parse("COM7=pty:/tmp/a\nCOM8=pty:/tmp/b\nCOM9=pty:/tmp/a\n").complaints,
            std::vector<std::string>{"ports.ini line 3 \"COM9=pty:/tmp/a\": the link is that of COM7, and each port "
                                     "needs its own"});
  std::string many;
  for (int i = 0; i < 100'000; ++i) many += "?\n";
  EXPECT_LE(PortTable::Parse(many).complaints.size(), 100U);
}

TEST(PortTable, AMissingFileIsEmptyAndAnUnusableOneIsNamed) {
  const SystemFiles files;
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

TEST(PortsFile, ANewDeviceTakesItsLineAndEveryOtherLineStays) {
  struct Row {
    std::string before, after;
  };
  for (const Row& row : {
           Row{"", "COM3=sim:orion\n"},
           Row{"# mine\r\nCOM1=/dev/a\r\n\r\nnonsense", "# mine\r\nCOM1=/dev/a\r\n\r\nnonsense\r\nCOM3=sim:orion\r\n"},
           Row{"COM30=/dev/a\n com3 = /dev/b\n;COM3=/dev/c\n", "COM30=/dev/a\nCOM3=sim:orion\n;COM3=/dev/c\n"},
           Row{"COM3=\nCOM4=/dev/a\nCOM3=/dev/b", "COM3=sim:orion\nCOM4=/dev/a\nCOM3=/dev/b\n"},
           Row{"\xEF\xBB\xBF"
               "COM3=/dev/a\n",
               "\xEF\xBB\xBF"
               "COM3=sim:orion\n"},
       }) {
    const std::string after = WithAddress(row.before, 3, "sim:orion");
    EXPECT_EQ(after, row.after);
    EXPECT_EQ(PortTable::Parse(after).AddressOf(3), "sim:orion") << row.before;
  }
}

TEST(PortsFile, OnlyWhatCanBeOpenedIsTakenAsAnAddress) {
  for (const std::string good :
       {"/dev/ttyUSB0", "pty:/tmp/my rig", "tcp:shack.local:4001", "tcp:[::1]:1", "sim:orion"}) {
    EXPECT_TRUE(CheckAddress(good).ok()) << good;
    EXPECT_EQ(PortTable::Parse(WithAddress("", 1, good)).AddressOf(1), good);
  }
  for (const std::string& bad :
       {""s, "ttyUSB0"s, "pty:"s, "pty:rig"s, "tcp:host"s, "tcp::1"s, "tcp:host:0"s, "tcp:host:65536"s, "sim:"s,
        " /dev/a"s, "/dev/a "s, "/dev/a\nCOM2=/dev/b"s, "/dev/\0a"s, "/" + std::string(1100, 'x')}) {
    const Status status = CheckAddress(bad);
    ASSERT_FALSE(status.ok()) << bad;
    EXPECT_FALSE(status.error().message.empty());
  }
}

TEST(PortsFile, AFileThatIsNoTextIsSetAsideBeforeOneIsBegun) {
  const TemporaryFolder folder;
  SystemFiles files;
  folder.Put("ports.ini", "\0\1\2binary\0"s);
  ASSERT_TRUE(WriteAddress(files, folder.path(), 2, "/dev/a").ok());
  EXPECT_EQ(folder.Get("ports.ini"), "COM2=/dev/a\n");
  EXPECT_EQ(folder.Get("ports.ini.damaged"), "\0\1\2binary\0"s);
  EXPECT_FALSE(WriteAddress(files, folder / "nowhere", 2, "/dev/a").ok());
}

}  // namespace
}  // namespace kvx::platform
