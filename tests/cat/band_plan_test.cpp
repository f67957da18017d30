#include "cat/band_plan.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <utility>

#include "core/text.h"

namespace kvx::cat {
namespace {

const std::string kHead = "from_khz,to_khz,use,text,privilege\n";

Frequency Khz(const std::string& text) {
  return ParseKhz(text).value();
}

BandPlan Plan(const std::string& lines) {
  auto plan = BandPlan::Parse(kHead + lines);
  EXPECT_TRUE(plan.ok()) << (plan.ok() ? "" : plan.error().message);
  return plan.ok() ? *plan : BandPlan();
}

/// "from-to text" of each segment, one a line.
std::string Listed(const std::vector<BandPlan::Segment>& segments) {
  std::string listed;
  for (const auto& s : segments) listed += KhzText(s.from) + '-' + KhzText(s.to) + ' ' + s.text + '\n';
  return listed;
}

TEST(BandPlan, AFaultIsNamedWithItsLine) {
  const struct {
    std::string csv;
    const char* message;
  } cases[] = {
      {"", "the band plan is empty"},
      {kHead + "# nothing\n", "the band plan is empty"},
      {"\n7000,7040,cw,CW,\n", "line 2: the columns are not from_khz,to_khz,use,text,privilege"},
      {kHead + "7000,7040,cw,CW,RTTY,\n",
       "line 2: it is not from_khz,to_khz,use,text,privilege (quote a text that holds a comma)"},
      {kHead + "7000,7040,cw,\"CW,\n7040,7050,cw,CW,\n", "line 2: a quote is not closed"},
      {kHead + "7000,7040,cw," + std::string(400, 'x') + ",\n",
       "line 2: its text is not one line of at most 200 bytes"},
      {kHead + "7000,7040,cw,\"two\nlines\",\n", "line 2: its text is not one line of at most 200 bytes"},
      {kHead + "\r\n# x\n7000.005,7040,cw,CW,\n", "line 4: a limit is no frequency in kHz, exact to 10 Hz"},
      {kHead + "7000,forty,cw,CW,\n", "line 2: a limit is no frequency in kHz, exact to 10 Hz"},
      {kHead + "-1,7040,cw,CW,\n", "line 2: a limit is no frequency in kHz, exact to 10 Hz"},
      {kHead + "7040,7040,cw,CW,\n", "line 2: its lower limit is not below its upper limit"},
      {kHead + "7000,7040,morse,CW,\n", "line 2: there is no use \"morse\""},
      {kHead + "7000,7040,cw, ,\n", "line 2: it has no text"},
      {kHead + "7000,7040,cw,CW,Master\n", "line 2: there is no licence class \"Master\""},
      {kHead + "7040,7050,cw,A,\n7000,7040,cw,B,\n", "line 3: it begins below the line before it"},
      {kHead + "7000,7040,cw,A,\n7000,7040,cw,B,\n", "line 3: it is not narrower than 7000.00 to 7040.00 before it"},
      {kHead + "7000,7040,cw,A,\n7039,7041,cw,B,\n", "line 3: it reaches out of 7000.00 to 7040.00"},
      {kHead + "7000,7040,cw,A,\n7010,7020,cw,B,\n7015,7025,cw,C,\n", "line 4: it reaches out of 7010.00 to 7020.00"},
  };
  for (const auto& c : cases) {
    const auto plan = BandPlan::Parse(c.csv);
    ASSERT_FALSE(plan.ok()) << c.csv;
    EXPECT_EQ(plan.error().message, c.message);
  }
  std::string many = kHead;
  for (int i = 0; i < 6000; ++i) many += std::to_string(i) + ',' + std::to_string(i + 1) + ",cw,CW,\n";
  EXPECT_EQ(BandPlan::Parse(many).error().message, "line 5002: there are too many segments");
}

TEST(BandPlan, TheNarrowestSegmentThatHoldsAFrequencyCounts) {
  const BandPlan plan = Plan(
      "7000,7040,cw,CW,General\r\n7020,7030,dx,window,\n7024,7026,calling,\"call, QRP\",Extra\n7030,7040,cw,top,\n"
      "7040,7050,data,Data,\n7040,7041,calling,edge,\n7060,7070,phone,PH,");
  // Where the next text begins; "-" is no segment.
  std::string begins;
  std::string last = "-";
  for (Frequency at = Khz("6999"); at < Khz("7071"); at = at + Frequency::FromHz(10)) {
    const auto* segment = plan.At(at);
    const std::string text = segment ? segment->text : "-";
    if (std::exchange(last, text) != text) begins += KhzText(at) + ' ' + text + '\n';
  }
  EXPECT_EQ(begins,
            "7000.00 CW\n7020.00 window\n7024.00 call, QRP\n7026.00 window\n7030.00 top\n7040.00 edge\n7041.00 Data\n"
            "7050.00 -\n7060.00 PH\n7070.00 -\n");
  EXPECT_EQ(plan.At(*ParseKhz("7029.9999"))->text, "window");
  EXPECT_EQ(plan.At(Khz("0")), nullptr);
  EXPECT_EQ(plan.At(kHighestFrequency), nullptr);
  EXPECT_EQ(plan.At(Khz("7020"))->privilege, LicenceClass::kGeneral);  // that of the segment around it
  EXPECT_EQ(plan.At(Khz("7024"))->privilege, LicenceClass::kExtra);
  EXPECT_EQ(BandPlan().At(Khz("7000")), nullptr);
}

TEST(BandPlan, AChartGetsBaseSegmentsAndNotesCutToItsRange) {
  const BandPlan plan = Plan(
      "7000,7040,cw,CW,\n7020,7030,dx,window,\n7024,7026,calling,call,\n7040,7050,data,Data,\n7060,7070,phone,PH,\n");
  EXPECT_EQ(Listed(plan.Between(Khz("7025"), Khz("7065"))),
            "7025.00-7040.00 CW\n7040.00-7050.00 Data\n7060.00-7065.00 PH\n");
  EXPECT_EQ(Listed(plan.NotesBetween(Khz("7025"), Khz("7065"))), "7025.00-7030.00 window\n7025.00-7026.00 call\n");
  EXPECT_EQ(Listed(plan.Between(Khz("7050"), Khz("7060"))), "");
  EXPECT_EQ(Listed(plan.NotesBetween(Khz("7026"), Khz("7030"))), "7026.00-7030.00 window\n");
}

// The limits of the bands, kept apart from the plans: ITU Radio Regulations, for region 2 those of the United States.
const std::string kShared =
    "135.7-137.8 472-479 10100-10150 14000-14350 18068-18168 21000-21450 24890-24990 28000-29700 50000-54000 "
    "1240000-1300000 ";
const std::string kRegions[] = {
    "1810-2000 3500-3800 5351.5-5366.5 7000-7200 70000-70500 144000-146000 430000-440000",
    "1800-2000 3500-4000 5330.5-5333.4 5346.5-5349.4 5351.5-5366.5 5371.5-5374.4 5403.5-5406.4 7000-7300 "
    "144000-148000 219000-220000 222000-225000 420000-450000 902000-928000",
    "1800-2000 3500-3900 5351.5-5366.5 7000-7200 144000-148000 430000-440000"};

BandPlan Shipped(int region) {
  std::ifstream file(KVX_DATA "/bandplan_region" + std::to_string(region) + ".csv");
  std::stringstream csv;
  csv << file.rdbuf();
  auto plan = BandPlan::Parse(csv.str());
  EXPECT_TRUE(plan.ok()) << region << ": " << (plan.ok() ? "" : plan.error().message);
  return plan.ok() ? *plan : BandPlan();
}

TEST(ShippedBandPlans, CoverEveryBandOfTheirRegionWithoutGapsAndNothingElse) {
  for (int region = 1; region <= 3; ++region) {
    const BandPlan plan = Shipped(region);
    SCOPED_TRACE("region " + std::to_string(region));
    std::size_t in_bands = 0;
    for (const std::string& band : Split(kShared + kRegions[region - 1], ' ')) {
      SCOPED_TRACE(band);
      const Frequency from = Khz(band.substr(0, band.find('-')));
      const Frequency to = Khz(band.substr(band.find('-') + 1));
      const auto segments = plan.Between(from, to);
      in_bands += segments.size();
      Frequency reached = from;
      for (const auto& segment : segments) {
        EXPECT_EQ(KhzText(segment.from), KhzText(reached));
        reached = segment.to;
      }
      EXPECT_EQ(KhzText(reached), KhzText(to));
      EXPECT_EQ(plan.At(to), nullptr) << "above it";
      EXPECT_EQ(plan.At(from - Frequency::FromHz(10)), nullptr) << "below it";
    }
    EXPECT_EQ(in_bands, plan.Between(Khz("0"), kHighestFrequency).size()) << "outside the bands";
  }
}

TEST(ShippedBandPlans, SayWhatOperatorsKnow) {
  const struct {
    int region;
    const char* khz;
    BandUse use;
  } cases[] = {{1, "3790", BandUse::kDx},        {1, "7100", BandUse::kPhone},      {1, "14060", BandUse::kCalling},
               {1, "14100", BandUse::kBeacon},   {1, "144300", BandUse::kCalling},  {1, "145900", BandUse::kSatellite},
               {2, "3795", BandUse::kDx},        {2, "7124.99", BandUse::kData},    {2, "7125", BandUse::kPhone},
               {2, "10125", BandUse::kCw},       {2, "14060", BandUse::kCalling},   {2, "14149.99", BandUse::kData},
               {2, "14150", BandUse::kPhone},    {2, "21200", BandUse::kPhone},     {2, "28400", BandUse::kCalling},
               {2, "146520", BandUse::kCalling}, {2, "146000", BandUse::kRepeater}, {3, "3850", BandUse::kPhone},
               {3, "21150", BandUse::kBeacon},   {3, "436000", BandUse::kSatellite}};
  const BandPlan plans[] = {Shipped(1), Shipped(2), Shipped(3)};
  for (const auto& c : cases) {
    const auto* segment = plans[c.region - 1].At(Khz(c.khz));
    ASSERT_NE(segment, nullptr) << c.region << ' ' << c.khz;
    EXPECT_EQ(BandUseName(segment->use), BandUseName(c.use)) << c.region << ' ' << c.khz;
  }
}

TEST(ShippedBandPlans, LicenceClassesOfTheUnitedStatesChangeWhereTheRulesSayAndNowhereElse) {
  // 47 CFR 97.301, each class from its frequency on: the lowest that may transmit there.
  const std::string expected =
      "135.70 General\n3500.00 Extra\n3525.00 Novice\n3600.00 Extra\n3700.00 Advanced\n3800.00 General\n"
      "7000.00 Extra\n7025.00 Novice\n7125.00 Advanced\n7175.00 General\n14000.00 Extra\n14025.00 General\n"
      "14150.00 Extra\n14175.00 Advanced\n14225.00 General\n21000.00 Extra\n21025.00 Novice\n21200.00 Extra\n"
      "21225.00 Advanced\n21275.00 General\n28000.00 Novice\n28500.00 General\n50000.00 Technician\n"
      "222000.00 Novice\n420000.00 Technician\n1270000.00 Novice\n1295000.00 Technician\n";
  std::string changes;
  LicenceClass last = LicenceClass::kNone;
  const BandPlan plan = Shipped(2);
  for (const auto& segment : plan.segments()) {
    if (segment.privilege == last) continue;
    last = segment.privilege;
    changes += KhzText(segment.from) + ' ' + std::string(LicenceClassName(last)) + '\n';
  }
  EXPECT_EQ(changes, expected);
}

}  // namespace
}  // namespace kvx::cat
