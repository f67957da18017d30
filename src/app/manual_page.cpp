#include "app/manual_page.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <algorithm>
#include <array>
#include <cctype>
#include <iostream>

#include "app/headless.h"
#include "app/program.h"
#include "app/usage.h"

namespace kvx::app {
namespace {

struct Entry {
  std::string_view name;
  std::string_view text;
};

constexpr std::array kDescription{
    "KVX drives a transceiver over its CAT port: it shows frequency, mode, VFO and meters as the rig has them, tunes "
    "it, and "
    "switches its bands, modes and functions. It keys CW, serves loggers and other programs, switches antennas, and "
    "shows "
    "and reads the receiver's audio.",
    "Without arguments it opens the console window; the first start, on a station where no rig has been chosen yet, "
    "opens "
    "the setup. Without a display it runs as with --headless.",
};

constexpr std::array kHeadless{
    "Standard input takes one command a line; each is answered by one line, \"ok ...\" or \"error: ...\". Other lines "
    "on "
    "standard output are events: \"freq 14025.00\", \"mode CW\", \"port open\", \"message ...\", \"tx on\". The first "
    "line is "
    "\"ready\". The end of standard input does not end the program; quit, SIGTERM and SIGINT do, in order.",
    "What each command takes comes before the colon; what stands in brackets may be left out.",
};

constexpr std::array kEnvironment{
    Entry{"XDG_DATA_HOME",
          "Where the station folder is made, as kvx or, with --demo, kvx-demo; ~/.local/share when unset."},
    Entry{"DISPLAY, WAYLAND_DISPLAY", "The display for the windows."},
    Entry{"QT_QPA_PLATFORM", "Qt's choice of a platform, as offscreen."},
    Entry{"PULSE_SERVER", "The sound server that the receiver's audio is taken from."},
    Entry{"WINEPREFIX", "The Wine prefix whose programs the DDE server serves; ~/.wine when unset."},
};

constexpr std::array kFiles{
    Entry{"~/.local/share/kvx/", "The station folder. One console at a time has it. In it:"},
    Entry{"rig.ini", "The settings."},
    Entry{"ports.ini", "Which device each port number is, one a line: COM3=/dev/serial/by-id/..."},
    Entry{"rigsetup.sqlite", "The rig definitions and the function-key records."},
    Entry{"RIGMEM.MEM", "The memory channels."},
    Entry{"TunerSUB.sqlite", "The tuner notebook."},
};

constexpr std::array kExitStatus{
    Entry{"0", "The program was ended by its window, quit, SIGTERM or SIGINT, or has done what was asked."},
    Entry{"1",
          "An argument is wrong, or the station folder cannot be used; standard error says which. Or doctor has found "
          "an error."},
    Entry{"2", "Another console has the station folder; standard error names its process."},
};

constexpr std::array kExamples{
    Entry{"kvx --demo", "Look around without a rig."},
    Entry{"kvx --headless --station ~/field-day", "A station in its own folder, without a window."},
    Entry{"printf 'freq 7030\\nstatus\\nquit\\n' | kvx --headless --demo", "Tune, ask for the state, and end."},
    Entry{"kvx rigsim ft857 --link /tmp/rig --speed 9600", "A rig to try other programs with, at the port /tmp/rig."},
    Entry{"systemctl --user enable --now kvx", "The station as a service of the user, from login on."},
};

/// What troff would take for its own.
struct Escape {
  char character;
  std::string_view written;
};
constexpr std::array kEscapes{Escape{'\\', "\\e"},  Escape{'-', "\\-"},   Escape{'\'', "\\(aq"},
                              Escape{'`', "\\(ga"}, Escape{'^', "\\(ha"}, Escape{'~', "\\(ti"}};

std::string Escaped(std::string_view text) {
  std::string out;
  for (const char c : text) {
    const auto* row = std::find_if(kEscapes.begin(), kEscapes.end(), [c](const Escape& e) { return e.character == c; });
    out += row == kEscapes.end() ? std::string(1, c) : std::string(row->written);
  }
  return out.starts_with('.') ? "\\&" + out : out;
}

/// A call or a name: words in capitals in italics, other words in bold.
std::string Marked(std::string_view call) {
  const auto in_word = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_'; };
  std::string out;
  while (!call.empty()) {
    const auto begin = call.begin();
    const bool word = in_word(*begin);
    const auto end = std::find_if(begin, call.end(), [&](char c) { return in_word(c) != word; });
    const std::string_view piece(begin, end);
    const bool value =
        std::none_of(begin, end, [](char c) { return std::islower(static_cast<unsigned char>(c)) != 0; });
    out += !word ? Escaped(piece) : (value ? "\\fI" : "\\fB") + Escaped(piece) + "\\fR";
    call.remove_prefix(piece.size());
  }
  return out;
}

class Page {
 public:
  void Section(std::string_view title) { text_ += ".SH " + std::string(title) + '\n'; }
  void Paragraph(const std::string& text) { text_ += ".PP\n" + text + '\n'; }
  void Item(const std::string& tag, const std::string& text) { text_ += ".TP\n" + tag + '\n' + text + '\n'; }

  template <typename Entries>
  void Items(std::string_view title, const Entries& entries) {
    Section(title);
    for (const Entry& entry : entries) Item("\\fB" + Escaped(entry.name) + "\\fR", Escaped(entry.text));
  }

  std::string text_;
};

std::string Sentence(std::string text) {
  text.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(text.front())));
  return text + '.';
}

}  // namespace

std::string ManualPage(const std::vector<console::CommandLine::CommandHelp>& commands) {
  Page page;
  page.text_ = ".TH KVX 1 \"\" \"KVX " KVX_VERSION "\" \"User Commands\"\n.nh\n.ad l\n";
  page.Section("NAME");
  page.text_ += "kvx \\- console for an amateur\\-radio station\n";
  page.Section("SYNOPSIS");
  for (const Usage& usage : Usages()) {
    page.text_ += (&usage == &Usages().front() ? "" : ".br\n") + Marked("kvx " + std::string(usage.call)) + '\n';
  }
  page.Section("DESCRIPTION");
  for (const char* text : kDescription) page.Paragraph(Escaped(text));
  page.Section("OPTIONS");
  for (const Usage& usage : Usages()) {
    if (!usage.call.empty()) page.Item(Marked(usage.call), Escaped(Sentence(HelpOf(usage))));
  }
  page.Section("COMMANDS");
  for (const char* text : kHeadless) page.Paragraph(Escaped(text));
  for (const auto& command : commands) page.Item("\\fB" + Escaped(command.name) + "\\fR", Escaped(command.usage));
  page.Items("ENVIRONMENT", kEnvironment);
  page.Items("FILES", kFiles);
  page.Items("EXIT STATUS", kExitStatus);
  page.Items("EXAMPLES", kExamples);
  page.Section("SEE ALSO");
  page.Paragraph("\\fBrigctl\\fR(1), \\fBsystemctl\\fR(1), and the documentation in /usr/share/doc/kvx");
  return page.text_;
}

int PrintManualPage(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  const QTemporaryDir folder;
  Program program(Options{.mode = Options::Mode::kHeadless, .station = folder.path().toStdString()}, nullptr);
  if (auto prepared = program.Prepare(); !folder.isValid() || !prepared) {
    std::cerr << "kvx: cannot make an empty station: "
              << (folder.isValid() ? prepared.error().message : folder.errorString().toStdString()) << '\n';
    return 1;
  }
  console::CommandLine commands(program.loop(), program.station(), [](const std::string&) {});
  AddCommands(commands, program);
  std::cout << ManualPage(commands.commands());
  return 0;
}

}  // namespace kvx::app
