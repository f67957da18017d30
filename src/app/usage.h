#pragma once

#include <span>
#include <string>
#include <string_view>

namespace kvx::app {

/// A way to start the program. --help and the manual page are made of these rows.
struct Usage {
  std::string_view call;  ///< behind "kvx"; what is written in capitals stands for a value
  std::string_view help;  ///< a phrase; "<KINDS>" stands for the names of the simulated devices
};

std::span<const Usage> Usages();
/// A row's help, written out.
std::string HelpOf(const Usage& usage);
/// The text of --help.
std::string HelpText();

}  // namespace kvx::app
