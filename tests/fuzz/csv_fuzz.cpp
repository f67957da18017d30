#include "accessories/tuner_exchange.h"
#include "config/rig_csv.h"
#include "config/rig_definition.h"
#include "config/rig_setups.h"
#include "functions/channel_csv.h"
#include "functions/record_csv.h"
#include "input.h"

namespace {

using namespace kvx;

void TryRigs(const std::string& csv) {
  const auto rigs = config::ParseRigCsv(csv);
  if (!rigs) return;
  for (const config::RigRow& row : *rigs) config::LoadDefinition(row);
  const auto again = config::ParseRigCsv(config::FormatRigCsv(*rigs));
  fuzz::Demand(again.ok() && again->size() == rigs->size(), "rigs survive being exported");
}

void TryRecords(const std::string& csv) {
  const auto records = functions::ParseRecords(csv);
  if (!records) return;
  const auto again = functions::ParseRecords(functions::FormatRecords(*records));
  fuzz::Demand(again.ok() && again->size() == records->size(), "function records survive being exported");
}

void TryChannels(const std::string& csv) {
  const auto channels = functions::ParseChannels(csv);
  if (channels) functions::ParseChannels(functions::FormatChannels(*channels)).ok();
}

void TryTuner(const std::string& csv) {
  const auto records = accessories::ParseTunerCsv(csv);
  if (records) accessories::ParseTunerCsv(accessories::FormatTunerCsv(*records)).ok();
}

void TrySetups(const std::string& csv) {
  config::ParseRigSetups(csv).ok();
}

constexpr void (*kForms[])(const std::string&) = {TryRigs, TryRecords, TryChannels, TryTuner, TrySetups};

}  // namespace

/// Everything that is exchanged as CSV.
KVX_FUZZ(input) {
  const std::size_t form = input.Byte() % std::size(kForms);
  kForms[form](std::string(input.Rest()));
}
