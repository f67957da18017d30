#pragma once

#include <string>

namespace kvx::app {

/// Lives while Qt looks for a display. Qt ends a program that has none by a core: with this the program ends with one
/// line, and 1.
class DisplaySearch final {
 public:
  DisplaySearch();
  ~DisplaySearch();
  DisplaySearch(const DisplaySearch&) = delete;
  DisplaySearch& operator=(const DisplaySearch&) = delete;
};

/// Tells why the console ends before it has a window: on standard error, and in a box as well where nobody reads that,
/// as when it was started from a menu. The box waits for the operator, but not for ever.
void TellStartFailure(const std::string& why, bool may_show_box);

}  // namespace kvx::app
