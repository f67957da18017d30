#include "console/position_file.h"
#include "core/text.h"
#include "functions/memory_file.h"
#include "input.h"

/// RIGform.Pos and RIGMEM.MEM with anything in them: what has been read is written and read the same.
KVX_FUZZ(input) {
  using namespace kvx;
  const bool position_file = input.Byte() % 2 == 0;
  const std::string content(input.Rest());
  if (position_file) {
    console::ConsolePosition position;
    if (!console::ParsePosition(content, position).ok()) return;
    const std::string written = console::FormatPosition(position);
    if (!IsText(written)) return;  // next to nothing but control characters, between line ends that are gone now
    console::ConsolePosition again;
    fuzz::Demand(console::ParsePosition(written, again).ok() && again == position,
                 "the console's state survives being written");
    return;
  }
  const auto memories = functions::ParseMemories(content);
  if (!memories) return;
  const auto again = functions::ParseMemories(functions::FormatMemories(*memories));
  fuzz::Demand(again.ok() && again->channels == memories->channels, "memory channels survive being written");
}
