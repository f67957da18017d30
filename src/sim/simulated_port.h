#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/serial_port.h"
#include "sim/paced_line.h"
#include "sim/simulated_device.h"

namespace kvx::sim {

/// A serial port with a simulated device at its other end: "sim:ts2000". The line is as fast as its settings say. The
/// device is there from the start and stays as it is while the port is closed, like a rig on a desk.
class SimulatedPort final : public platform::SerialPort {
 public:
  SimulatedPort(std::string address, Loop& loop);

  Status Open(const platform::PortSettings& settings) override;
  void Close() override;
  bool is_open() const override { return open_; }
  void Write(std::string_view bytes) override;
  std::string Read() override;
  std::size_t bytes_waiting() const override { return input_.size(); }
  std::size_t bytes_unsent() const override { return to_device_.waiting(); }
  void SetDtr(bool on) override { dtr_ = on; }
  void SetRts(bool on) override { rts_ = on; }
  void DropUnsent() override { to_device_.Clear(); }

  /// The rig, so that somebody can turn its knob; null when the address names none.
  SimulatedDevice* device() { return device_.get(); }
  bool dtr() const { return dtr_; }
  bool rts() const { return rts_; }

 private:
  void Arrived(std::string_view bytes);

  std::string address_;
  std::unique_ptr<SimulatedDevice> device_;
  PacedLine to_device_;
  PacedLine from_device_;
  std::string input_;
  bool open_ = false;
  bool dtr_ = false;
  bool rts_ = false;
};

}  // namespace kvx::sim
