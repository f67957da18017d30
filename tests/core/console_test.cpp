#include "core/console.h"

#include <gtest/gtest.h>

#include <optional>

namespace kvx {
namespace {

TEST(Console, AnnouncesChangesAndOnlyThose) {
  Console console;
  std::vector<Field> heard;
  const Console::Subscription subscription = console.Subscribe([&](Field field) { heard.push_back(field); });
  console.Mode.Set(" USB");
  console.Mode.Set(" USB");
  console.Slider.Set(2, 40);
  EXPECT_EQ(heard, (std::vector{Field::kMode, Field::kSlider}));
  EXPECT_EQ(console.Slider[2], 40);
}

TEST(Console, ListenersComeGoAndChangeFieldsInsideAnAnnouncement) {
  Console console;
  std::string heard;
  std::optional<Console::Subscription> second;
  std::optional<Console::Subscription> late;
  const auto first = console.Subscribe([&](Field field) {
    heard += field == Field::kMode ? 'm' : 'v';
    if (field != Field::kMode) return;
    second.reset();  // before its turn
    late = console.Subscribe([&](Field) { heard += 'l'; });
    console.VFO.Set("1");
  });
  second = console.Subscribe([&](Field) { heard += 's'; });
  console.Mode.Set(" LSB");
  EXPECT_EQ(heard, "mvl") << "the inner change reaches the new listener, the outer one only those of its moment";
  late.reset();
  console.VFO.Set("2");
  EXPECT_EQ(heard, "mvlv");
}

}  // namespace
}  // namespace kvx
