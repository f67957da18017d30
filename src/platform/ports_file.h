#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"

namespace kvx::platform {

inline constexpr int kHighestPort = 99;

inline constexpr int kHighestParallelPort = 3;

/// What ports.ini says: the device behind each numbered port, one "COM3=/dev/serial/by-id/..." a line. A value is a
/// device path, "pty:PATH", "tcp:HOST:PORT" or "sim:NAME". A parallel port is "LPT1=", a device path or "sim:lpt".
struct PortTable {
  std::map<int, std::string> addresses;
  std::map<int, std::string> parallel;
  std::vector<std::string> complaints;  ///< one line for each line that cannot be used, naming it

  static PortTable Parse(std::string_view content);
  /// The device behind COM`number`: /dev/ttyS(n-1) when the table has no line for it.
  std::string AddressOf(int number) const;
  /// The port other than `number` that makes its link at the path of that "pty:PATH"; 0 when there is none.
  int LinkOwner(std::string_view address, int number) const;
  /// The device behind LPT`number`: /dev/parport(n-1) when the table has no line for it.
  std::string ParallelAddressOf(int number) const;
};

/// Reads ports.ini of a station folder; missing is an empty table, unreadable or binary content a complaint that names
/// the file.
PortTable ReadPortTable(const Files& files, const Path& station);

/// What is wrong with a value that is to stand behind a port number, as one sentence; Ok when it has one of the forms.
Status CheckAddress(std::string_view address);
/// The content of ports.ini with that device behind the number: the number's line is replaced, or one is added at the
/// end; every other line and comment stays.
std::string WithAddress(std::string_view content, int number, std::string_view address);
/// Puts a device behind a number in ports.ini of a station folder. A file that is no text is set aside.
Status WriteAddress(Files& files, const Path& station, int number, std::string_view address);

}  // namespace kvx::platform
