#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/loop.h"
#include "core/task.h"
#include "platform/dde_transport.h"
#include "platform/device_inspector.h"
#include "platform/device_list.h"
#include "platform/files.h"
#include "platform/network_inspector.h"
#include "platform/process_list.h"
#include "platform/sound_state.h"
#include "platform/station_inspector.h"
#include "platform/worker.h"

namespace kvx::console {

/// What came of one check: a sentence on what is so, or on what is wrong and what to do.
struct Finding {
  enum class Grade { kOk, kWarning, kError };
  Grade grade = Grade::kOk;
  std::string text;
  bool operator==(const Finding&) const = default;
};

/// "ok ...", "warning: ...", "error: ..."
std::string LineOf(const Finding& finding);
/// "2 errors, 1 warning", "nothing is wrong"
std::string SummaryOf(const std::vector<Finding>& findings);

/// Whom the doctor asks. Everything is borrowed, and is asked from any thread, one at a time.
struct DoctorParts {
  const platform::Files& files;
  const platform::DeviceList& devices;
  const platform::DeviceInspector& inspector;
  const platform::StationInspector& station;
  const platform::NetworkInspector& network;
  const platform::ProcessList& processes;
  std::function<platform::SoundState()> sound;  ///< takes a few seconds at most
  std::function<std::string()> missing_voice;   ///< why there is no voice and what to do; empty: there is one
  const platform::DdeTransport* dde = nullptr;  ///< null: there is none in this program
  platform::Path folder;                        ///< of the station
  platform::Path data;
  bool demo = false;  ///< the demonstration, which has no parallel ports but a register
};

struct Patient;

/// One examination of a station, from what stands in its folder, and of the computer around it: what keeps a station
/// from working, and what to do. It changes nothing, writes to no port and opens none, for that alone may key a
/// transmitter. Each check takes a few seconds at most.
class Examination {
 public:
  explicit Examination(DoctorParts parts);
  ~Examination();

  bool done() const;
  /// Carries out the next check.
  std::vector<Finding> Step();

 private:
  DoctorParts parts_;
  std::unique_ptr<Patient> patient_;
  std::size_t next_ = 0;
};

/// Examines the station of a running console, beside its engine.
class Doctor {
 public:
  using Tell = std::function<void(const Finding& finding)>;

  Doctor(Loop& loop, platform::Worker& worker, DoctorParts parts)
      : loop_(loop), worker_(worker), parts_(std::move(parts)) {}

  /// One examination; each finding is told as it comes.
  Task Examine(Tell tell);

 private:
  Loop& loop_;
  platform::Worker& worker_;
  DoctorParts parts_;
};

}  // namespace kvx::console
