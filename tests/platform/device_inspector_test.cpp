#include "platform/posix/device_inspector.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include "fakes/temporary_folder.h"
#include "platform/posix/descriptor.h"

#include <fcntl.h>

namespace kvx::platform {
namespace {

namespace fs = std::filesystem;

/// A system's folders with USB devices, of which some are serial ports.
struct System {
  void Plug(const std::string& place, const std::string& vendor, const std::string& product, const std::string& maker,
            const std::string& terminal) const {
    const std::string device = "sys/devices/pci0/usb1/" + place;
    folder.Put(device + "/idVendor", vendor + "\n");
    folder.Put(device + "/idProduct", product + "\n");
    folder.Put(device + "/manufacturer", maker + "\n");
    fs::create_directories(folder / "sys/bus/usb/devices");
    fs::create_directory_symlink(folder / device, folder / ("sys/bus/usb/devices/" + place));
    if (terminal.empty()) return;
    fs::create_directories(folder / (device + "/1:1.0/" + terminal));
    fs::create_directories(folder / ("sys/class/tty/" + terminal));
    fs::create_directory_symlink(folder / (device + "/1:1.0/" + terminal),
                                 folder / ("sys/class/tty/" + terminal + "/device"));
  }

  TemporaryFolder folder;
};

TEST(PosixDeviceInspector, KnowsWhichAdaptersTheBrailleServiceTakesByTheRulesThatAreInForce) {
  System system;
  system.Plug("1-1", "1a86", "7523", "", "ttyUSB0");
  system.Plug("1-2", "0403", "6001", "FTDI", "");
  system.Plug("1-3", "10c4", "ea60", "Silicon Labs", "ttyUSB1");
  system.folder.Put("usr/lib/udev/rules.d/85-brltty.rules",
                    "# ENV{PRODUCT}==\"10c4/ea60/*\", ENV{BRLTTY_BRAILLE_DRIVER}=\"sk\", GOTO=\"brltty_usb_run\"\n"
                    "ENV{PRODUCT}==\"1a86/7523/*\", ENV{BRLTTY_BRAILLE_DRIVER}=\"bm\", GOTO=\"brltty_usb_run\"\n"
                    "ENV{PRODUCT}==\"403/6001/*\", ATTRS{manufacturer}==\"Hedo*\", GOTO=\"brltty_usb_run\"\n");
  const PosixDeviceInspector inspector(system.folder.path());
  auto claims = inspector.BrailleClaims();
  ASSERT_EQ(claims.size(), 1U);
  EXPECT_EQ(claims[0].usb, "1a86:7523");
  EXPECT_TRUE(claims[0].has_port);
  system.folder.Put("etc/udev/rules.d/85-brltty.rules", "ATTRS{idVendor}==\"0403\", ATTRS{idProduct}==\"6001\"\n");
  claims = inspector.BrailleClaims();
  ASSERT_EQ(claims.size(), 1U) << "the administrator's file comes instead";
  EXPECT_EQ(claims[0].usb, "0403:6001");
  EXPECT_FALSE(claims[0].has_port);
}

TEST(PosixDeviceInspector, TellsTheMakerOfATerminalFromItsUsersAndReadsLockFiles) {
  TemporaryFolder root;
  fs::create_directory_symlink("/proc", root / "proc");
  const Descriptor master(::posix_openpt(O_RDWR | O_NOCTTY));
  ASSERT_EQ(::grantpt(master.get()), 0);
  ASSERT_EQ(::unlockpt(master.get()), 0);
  const std::string path = ::ptsname(master.get());
  const Descriptor slave(::open(path.c_str(), O_RDWR | O_NOCTTY));
  const PosixDeviceInspector inspector(root.path());
  DeviceFacts facts = inspector.Inspect(path);
  ASSERT_TRUE(facts.maker.has_value());
  EXPECT_EQ(facts.maker->process, ::getpid());
  EXPECT_TRUE(facts.users.empty()) << "whoever simulates a rig keeps its own end open";
  ASSERT_EQ(::flock(slave.get(), LOCK_EX), 0);
  EXPECT_EQ(inspector.Inspect(path).users.size(), 1U) << "a lock says that it is in use";
  const std::string name = "run/lock/LCK..pts_" + fs::path(path).filename().string();
  root.Put(name, "  " + std::to_string(::getppid()) + "\nqt\nhost\n");
  facts = inspector.Inspect(path);
  ASSERT_EQ(facts.locks.size(), 1U);
  EXPECT_TRUE(facts.locks[0].alive);
  root.Put(name, "999999999\n");
  EXPECT_FALSE(inspector.Inspect(path).locks.at(0).alive);
}

}  // namespace
}  // namespace kvx::platform
