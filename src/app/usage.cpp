#include "app/usage.h"

#include <algorithm>
#include <array>

#include "sim/simulated_device.h"

namespace kvx::app {
namespace {

constexpr std::array kUsages{
    Usage{"", "the console window"},
    Usage{"--demo", "the same on the simulated station, which has a folder of its own ($XDG_DATA_HOME/kvx-demo)"},
    Usage{"--headless", "no window: commands on standard input (\"help\" lists them), events on standard output"},
    Usage{"--headless decode WAV [--tone HZ] [--mode classic|best]",
          "print the CW of a recording as it is read (without --tone: its strongest keyed tone)"},
    Usage{"doctor [--station DIR | --demo]", "say what keeps the station from working, and what to do"},
    Usage{"--station DIR", "another station folder (default: $XDG_DATA_HOME/kvx)"},
    Usage{"--grab DIR", "write a picture of every window to DIR and end"},
    Usage{"rigsim KIND [--link PATH] [--speed BAUD]",
          "one simulated rig or keyer on a pseudo-terminal whose path it prints; its front panel is standard input "
          "(KIND: <KINDS>)"},
    Usage{"--man", "print the manual page (kvx --man | man -l -)"},
    Usage{"--version", "print the version"},
    Usage{"--help", "print this text"},
};

constexpr std::size_t kIndent = 25;  // of the helps
constexpr std::size_t kWidth = 79;

/// Appends the words, folded at kWidth, in the right column of the page.
void Fold(std::string& page, std::string_view words) {
  std::size_t column = kIndent;
  while (!words.empty()) {
    const std::size_t end = std::min(words.find(' '), words.size());
    if (column > kIndent && column + 1 + end > kWidth) {
      page += '\n' + std::string(kIndent, ' ');
      column = kIndent;
    }
    if (column > kIndent) page += ' ';
    column += (column > kIndent ? 1 : 0) + end;
    page += words.substr(0, end);
    words.remove_prefix(std::min(end + 1, words.size()));
  }
  page += '\n';
}

}  // namespace

std::span<const Usage> Usages() {
  return kUsages;
}

std::string HelpOf(const Usage& usage) {
  constexpr std::string_view kMark = "<KINDS>";
  std::string help(usage.help);
  if (const std::size_t at = help.find(kMark); at != std::string::npos) {
    std::string kinds;
    for (const std::string& name : sim::DeviceNames()) kinds += (kinds.empty() ? "" : ", ") + name;
    help.replace(at, kMark.size(), kinds);
  }
  return help;
}

std::string HelpText() {
  std::string page = "KVX, a console for an amateur-radio station\n\n";
  for (const Usage& usage : kUsages) {
    std::string call = "  kvx " + std::string(usage.call);
    if (call.size() > kIndent - 2) {
      page += call + '\n';
      call.clear();
    }
    call.resize(kIndent, ' ');
    page += call;
    Fold(page, HelpOf(usage));
  }
  return page;
}

}  // namespace kvx::app
