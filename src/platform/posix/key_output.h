#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/key_line.h"
#include "platform/posix/crash_release.h"
#include "platform/posix/device_claim.h"
#include "platform/posix/parallel_port.h"

namespace kvx::platform {

/// Where the key thread writes its edges. Opened and closed by the engine thread; one call at a time.
class KeyOutput {
 public:
  virtual ~KeyOutput() = default;
  /// Opens with both lines released.
  virtual Status Open() = 0;
  /// Closes without touching the lines.
  virtual void Close() = 0;
  /// Sets the lines that change, so that PTT is never off while the key is down. 0, or the cause as an errno value.
  /// Neither allocates nor waits for anything but the device.
  virtual int Set(bool key, bool ptt) = 0;
  /// Why it cannot be used any more; empty while it can. Engine thread.
  virtual std::string fault() const = 0;
};

/// DTR and RTS of a serial device, which is claimed for this program alone or lent by the port that has it open.
class SerialKeyOutput final : public KeyOutput {
 public:
  SerialKeyOutput(std::string path, KeyLines lines);
  /// `lend` gives the descriptor of the other port's device at the moment of opening, -1 when there is none. As soon as
  /// it gives another one this output is at its end.
  SerialKeyOutput(std::function<int()> lend, KeyLines lines);

  Status Open() override;
  void Close() override;
  int Set(bool key, bool ptt) override;
  std::string fault() const override;

 private:
  Status OpenOwn();
  Status Borrow();
  int KeyLine() const;
  int PttLine() const;
  int Change(bool& state, bool on, int line) const;
  int SetLine(int line, bool on) const;

  std::string path_;
  std::function<int()> lend_;
  KeyLines lines_;
  DeviceUser user_;
  std::optional<DeviceClaim> claim_;
  Descriptor borrowed_;
  int lent_ = -1;
  int descriptor_ = -1;
  bool key_ = false;
  bool ptt_ = false;
  CrashRelease release_;
};

/// Two control pins of a parallel port: 17 is the key and 16 is PTT, high when keyed.
class ParallelKeyOutput final : public KeyOutput {
 public:
  ParallelKeyOutput(SharedParallelPorts& ports, std::string path, KeyLines lines);

  Status Open() override;
  void Close() override;
  int Set(bool key, bool ptt) override;
  std::string fault() const override { return {}; }

 private:
  std::uint8_t PinsFor(bool key, bool ptt) const;

  SharedParallelPorts& ports_;
  std::string path_;
  std::shared_ptr<PosixParallelPort> port_;  ///< while open
  KeyLines lines_;
  CrashRelease release_;
};

}  // namespace kvx::platform
