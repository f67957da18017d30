#include "platform/posix/device_list.h"

#include <gtest/gtest.h>

#include "fakes/temporary_folder.h"

namespace kvx::platform {
namespace {

namespace fs = std::filesystem;

/// A system's /dev and /sys as far as serial devices go.
struct System {
  /// A USB adapter: the terminal hangs below an interface, the texts are at the device above it.
  void PlugUsb(const std::string& name, const std::string& maker, const std::string& product) {
    folder.Put("dev/" + name, "");
    const std::string usb = "sys/devices/pci0/usb1/1-" + name;
    const fs::path terminal = folder / (usb + "/1-1:1.0/" + name);
    fs::create_directories(terminal);
    if (!maker.empty()) folder.Put(usb + "/manufacturer", maker + "\n");
    if (!product.empty()) folder.Put(usb + "/product", product + "\n");
    fs::create_directories(folder / ("sys/class/tty/" + name));
    fs::create_directory_symlink(terminal, folder / ("sys/class/tty/" + name + "/device"));
  }
  void PutBuiltIn(const std::string& name, const std::string& type) {
    folder.Put("dev/" + name, "");
    folder.Put("sys/class/tty/" + name + "/type", type + "\n");
  }
  void GiveName(const std::string& by_id, const std::string& name) {
    fs::create_directories(folder / "dev/serial/by-id");
    fs::create_symlink("../../" + name, folder / ("dev/serial/by-id/" + by_id));
  }
  std::string Dev(const std::string& name) const { return (fs::canonical(folder / "dev") / name).string(); }

  TemporaryFolder folder;
  PosixDeviceList list{folder / "dev", folder / "sys"};
};

TEST(PosixDeviceList, EachDeviceStandsOnceUnderItsMostStableName) {
  System system;
  system.PlugUsb("ttyUSB0", "Silicon Labs", "CP2102 USB to UART Bridge");
  system.PlugUsb("ttyUSB1", "FTDI", "FTDI FT232R");
  system.PlugUsb("ttyACM0", "", "");
  system.GiveName("usb-Silicon_Labs_CP2102-if00-port0", "ttyUSB0");
  system.GiveName("usb-Gone-if00", "ttyUSB7");
  system.PutBuiltIn("ttyS0", "4");
  system.PutBuiltIn("ttyS1", "0");
  system.PutBuiltIn("tty1", "4");
  const std::string by_id = (system.folder / "dev/serial/by-id/usb-Silicon_Labs_CP2102-if00-port0").string();
  const auto plain = [&](const std::string& name, const std::string& description) {
    return Device{(system.folder / ("dev/" + name)).string(), system.Dev(name), description};
  };
  EXPECT_EQ(system.list.List(),
            (std::vector<Device>{{by_id, system.Dev("ttyUSB0"), "Silicon Labs CP2102 USB to UART Bridge"},
                                 plain("ttyACM0", "USB serial port"),
                                 plain("ttyS0", "built-in serial port"),
                                 plain("ttyUSB1", "FTDI FT232R")}));
}

TEST(PosixDeviceList, ADevicesOwnTextIsMadeFitToBeShown) {
  System system;
  system.PlugUsb("ttyUSB0", "A\x1B[31m", std::string(5000, 'x'));
  const auto devices = system.list.List();
  ASSERT_EQ(devices.size(), 1U);
  EXPECT_EQ(devices[0].description.find('\x1B'), std::string::npos);
  EXPECT_LT(devices[0].description.size(), 300U);
}

}  // namespace
}  // namespace kvx::platform
