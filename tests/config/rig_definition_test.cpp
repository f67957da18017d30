#include "config/rig_definition.h"

#include <gtest/gtest.h>

namespace kvx::config {
namespace {

RigRow Row(std::initializer_list<std::pair<const char*, const char*>> fields) {
  RigRow row;
  for (const auto& [field, value] : fields) EXPECT_TRUE(row.Set(field, value)) << field;
  return row;
}

TEST(RigRow, FieldsAreKnownInAnyCaseAndNoOthers) {
  RigRow row = Row({{"MEMO4", "a"}, {"user5", "b"}, {"METER1", "c"}, {"set alpha", "d"}, {"rigtype", "Icom"}});
  EXPECT_EQ(row["memo4"] + row["USER5"] + row["Meter1"] + row["SET ALPHA"], "abcd");
  EXPECT_EQ(row.family(), "ICOM");
  EXPECT_FALSE(row.Set("SETALPHA", "x"));
  EXPECT_FALSE(row.Set("SendAsHEX", "x")) << "no text";
  EXPECT_EQ(row["SETALPHA"], "");
  RigRow other = row;
  row.Set("User5", "");
  EXPECT_NE(row, other);
  other.Set("USER5", "");
  EXPECT_EQ(row, other) << "empty and never set are the same";
}

TEST(RigDefinition, AnEmptyRowGetsEveryDefault) {
  const RigDefinition rig = LoadDefinition({});
  EXPECT_EQ(rig.captions[0] + rig.captions[4] + rig.captions[8], "159");
  EXPECT_EQ(rig.slider_captions,
            (std::array<std::string, kSliders>{"cw", "tn", "na", "na", "na", "sh", "af", "rf", "pw", "fl", "nt"}));
  EXPECT_EQ(rig.slider_descriptions,
            (std::array<std::string, kSliders>{"cw speed", "cw tone", "n/a", "n/a", "n/a", "sh filter", "audio gain",
                                               "rf gain", "power", "filter", "notch"}));
  EXPECT_EQ(rig.row["SSScan"], "cw tn na na na sh af rf pw fl nt");
  EXPECT_EQ(rig.slider_bounds[10], SliderBounds{});
  EXPECT_EQ(rig.cw_full_scale, 255);
  EXPECT_EQ(rig.memo5_first + rig.memo5_second, "");
}

TEST(RigDefinition, TextsAreTakenApart) {
  const RigDefinition rig = LoadDefinition(Row({{"Cap5", "NB"},
                                                {"SSScan", "a  b c d e f g h i j k l"},
                                                {"MEMO3", "One, Two,  Three,,  "},
                                                {"MEMO5", "VM;/FB/x"}}));
  EXPECT_EQ(rig.captions[4], "NB");
  EXPECT_EQ(rig.slider_captions[1] + rig.slider_captions[10], "bk");
  EXPECT_EQ(rig.slider_descriptions[0] + rig.slider_descriptions[2] + rig.slider_descriptions[4], "onethree");
  EXPECT_EQ(rig.memo5_first, "VM;");
  EXPECT_EQ(rig.memo5_second, "FB/x");
  for (const char* undivided : {"a/b", "abcd", ""}) {
    EXPECT_EQ(LoadDefinition(Row({{"MEMO5", undivided}})).memo5_second, "") << undivided;
  }
  EXPECT_EQ(LoadDefinition(Row({{"MEMO5", "a/bc"}})).memo5_second, "bc");
  EXPECT_EQ(LoadDefinition(Row({{"MEMO3", "abc"}})).slider_descriptions[0], "cw speed") << "too short to be a list";
  EXPECT_EQ(LoadDefinition(Row({{"MEMO3", "a,b,cd"}})).slider_descriptions[2], "cd");
}

TEST(RigDefinition, BoundsComeFromTheSuffix) {
  const struct {
    const char* field;
    SliderBounds bounds;
  } cases[] = {{"SH<NOTCH>{20-0}", {20, 0}},
               {"SH<NOTCH>", {255, 0}},
               {"", {255, 0}},
               {"FEFE<ADDR>E01401<AFGAIN4>FD{255-10}", {255, 10}},
               {"X{ 30x-5y}", {30, 5}},
               {"X{50--50}", {50, -50}},
               {"X{20", {255, 0}},
               {"X{20}", {255, 0}},
               {"X{a-b}", {0, 0}},
               {"X{99999999999999-0}", {2147483647, 0}}};
  for (const auto& c : cases) EXPECT_EQ(ReadBounds(c.field), c.bounds) << c.field;
}

TEST(RigDefinition, TheSpeedSliderHasItsOwnScale) {
  const RigDefinition rig = LoadDefinition(Row({{"MEMO4", "KS<CWSPEED3>;{60-4}"}, {"Notch", "NT<NOTCH>;{20-0}"}}));
  EXPECT_EQ(rig.slider_bounds[0], (SliderBounds{999, 4}));
  EXPECT_EQ(rig.cw_full_scale, 60);
  EXPECT_EQ(rig.slider_bounds[10], (SliderBounds{20, 0}));
  EXPECT_EQ(rig.slider_bounds[1], SliderBounds{}) << "no field belongs to the tone";
  EXPECT_EQ(LoadDefinition(Row({{"MEMO4", "x{60-4}"}, {"RigType", "icom"}})).cw_full_scale, 254);
}

}  // namespace
}  // namespace kvx::config
