// The console with its windows, which kvx becomes when it is to have any.

#include <sys/prctl.h>

#include <iostream>

#include "app/options.h"
#include "app/windowed.h"

int main(int argc, char** argv) {
  ::prctl(PR_SET_NAME, "kvx");  // what the operator has started
  const auto options = kvx::app::ParseOptions({argv + 1, argv + argc});
  if (!options || options->mode != kvx::app::Options::Mode::kWindow) {
    std::cerr << "kvx-windows: this is a part of kvx, which starts it\n";
    return 1;
  }
  return kvx::app::RunWindowed(argc, argv, *options);
}
