#include "cat/reply.h"

#include <algorithm>

#include "cat/text_replies.h"
#include "cat/yaesu_layouts.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

struct Family {
  std::string_view name;
  FamilyParser parser;
  FamilyKeying keying;
  int s_meter_full_scale;
  int cycle_characters;  ///< a Kenwood tells its whole status each time, the others answer one short query a cycle
};

constexpr std::array kFamilies{
    Family{"TEN-TEC", ParseTenTec, KeyingTenTec, 77, 25},   Family{"ICOM", ParseIcom, KeyingIcom, 241, 25},
    Family{"CI-V", ParseIcom, KeyingIcom, 241, 25},         Family{"YAESU", ParseYaesu, KeyingYaesu, 255, 25},
    Family{"KENWOOD", ParseKenwood, KeyingKenwood, 30, 60},
};
constexpr int kUnknownFullScale = 15;
constexpr int kSUnitsFullScale = 19;  // S units, 6 dB each

const Family* FindFamily(std::string_view name) {
  const auto* row =
      std::find_if(kFamilies.begin(), kFamilies.end(), [&](const Family& family) { return family.name == name; });
  return row == kFamilies.end() ? nullptr : row;
}

/// Without a command code the reply must begin as the query did ("AG0;" is answered by "AG0128;").
bool BeginsLike(std::string_view frame, std::string_view query) {
  const std::size_t end = query.find_first_of(";\r?");
  const std::string_view stem = query.substr(0, end);
  return !stem.empty() && frame.starts_with(stem);
}

}  // namespace

FamilyParser ParserOf(std::string_view family) {
  const Family* row = FindFamily(family);
  return row == nullptr ? nullptr : row->parser;
}

FamilyKeying KeyingOf(std::string_view family) {
  const Family* row = FindFamily(family);
  return row == nullptr ? nullptr : row->keying;
}

int SMeterFullScale(const config::RigDefinition& rig) {
  if (rig.family == "KENWOOD") return KenwoodFullScale(rig);
  const Family* row = FindFamily(rig.family);
  if (rig.nameless()) return YaesuMeterOf(rig).full_scale();
  if (rig.binary() && rig.family == "TEN-TEC") return kSUnitsFullScale;
  return row == nullptr ? kUnknownFullScale : row->s_meter_full_scale;
}

bool NarrowCwIsReverse(const config::RigDefinition& rig) {
  struct Row {
    std::string_view family;
    std::string_view command;
  };
  static constexpr std::array kReverse{Row{"KENWOOD", "MD7;"}, Row{"KENWOOD", "OM07;"},   Row{"KENWOOD", "ZZMD03;"},
                                       Row{"YAESU", "MD07;"},  Row{"YAESU", "MD<VFO>7;"}, Row{"YAESU", "0300000007"},
                                       Row{"ICOM", "E00607"},  Row{"TEN-TEC", "*RMM3"}};
  const std::string& narrow = rig.row["CWn"];
  return std::any_of(kReverse.begin(), kReverse.end(), [&](const Row& row) {
    return rig.family == row.family && narrow.find(row.command) != std::string::npos;
  });
}

int CycleCharacters(const config::RigDefinition& rig) {
  const Family* row = FindFamily(rig.family);
  return row == nullptr ? kFamilies.back().cycle_characters : row->cycle_characters;
}

bool ReadTextSlider(std::string_view frame, ParseContext& context, std::vector<Reply>& replies) {
  for (auto query = context.armed.begin(); query != context.armed.end(); ++query) {
    if (query->slider == 0 || !query->extraction) continue;
    // Ten-Tec's numbers have as many digits as they need.
    const auto data = query->extraction->DataOf(frame, context.rig.family == "TEN-TEC");
    if (!data || data->find_first_not_of("0123456789 +-") != std::string_view::npos) continue;
    if (query->extraction->code_start == 0 && !BeginsLike(frame, query->command)) continue;
    replies.push_back(
        {.kind = Reply::Kind::kSlider, .value = static_cast<int>(LeadingNumber(*data)), .number = query->slider});
    context.armed.erase(query);
    return true;
  }
  return false;
}

}  // namespace kvx::cat
