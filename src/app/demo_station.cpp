#include "app/demo_station.h"

namespace kvx::app {
namespace {

constexpr std::string_view kSettings =
    "XRIG=TS-2000\n"
    "RIGTYPE=KENWOOD\n"
    "RIGPORT= 1\n"
    "RIGSPEED= 57600\n"
    "RIGSTOP=1\n"
    "RIGNUMBER=1\n";
constexpr std::string_view kPorts = "COM1=sim:ts2000\n";

Status WriteIfMissing(platform::Files& files, const platform::Path& file, std::string_view content) {
  return files.Exists(file) ? Ok() : files.Write(file, content);
}

}  // namespace

Status MakeDemoStation(platform::Files& files, const platform::Path& folder) {
  if (auto made = files.MakeFolder(folder); !made) return made;
  if (auto written = WriteIfMissing(files, folder / "ports.ini", kPorts); !written) return written;
  return WriteIfMissing(files, folder / "rig.ini", kSettings);
}

}  // namespace kvx::app
