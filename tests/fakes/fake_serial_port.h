#pragma once

#include <string>
#include <vector>

#include "platform/serial_port.h"

namespace kvx {

/// A serial port in memory: the test reads `written`, plays the device with Arrive, unplugs it with Lose.
class FakeSerialPort final : public platform::SerialPort {
 public:
  Status Open(const platform::PortSettings& settings) override {
    ++opens;
    open_ = false;
    if (absent) return Error{ErrorCode::kNotFound, "COM" + std::to_string(settings.number) + ": no such device"};
    opened = settings;
    dtr = settings.dtr;
    rts = settings.rts;
    open_ = !takes_time;
    return Ok();
  }
  void Close() override { open_ = false; }
  bool is_open() const override { return open_; }
  void Write(std::string_view bytes) override {
    if (!open_) return;
    written += bytes;
    writes.emplace_back(bytes);
    if (on_write) on_write(bytes);
  }
  std::string Read() override { return std::exchange(input_, {}); }
  std::size_t bytes_waiting() const override { return input_.size(); }
  std::size_t bytes_unsent() const override { return unsent; }
  void SetDtr(bool on) override { dtr = on; }
  void SetRts(bool on) override { rts = on; }
  void DropUnsent() override { unsent = 0; }

  void Arrive(std::string_view bytes) {
    if (!open_) return;
    input_ += bytes;
    if (on_data) on_data();
  }
  /// The far end of a port that takes time to open has been reached.
  void Reach() {
    open_ = true;
    if (on_opened) on_opened();
  }
  void Lose(const std::string& why = "the device has gone") {
    open_ = false;
    if (on_lost) on_lost(why);
  }
  std::vector<std::string> TakeWrites() { return std::exchange(writes, {}); }

  std::string written;
  std::vector<std::string> writes;
  std::function<void(std::string_view)> on_write;  ///< the device's ear
  platform::PortSettings opened;
  std::size_t unsent = 0;
  int opens = 0;
  bool absent = false;
  bool takes_time = false;  ///< to open: until Reach
  bool dtr = false;
  bool rts = false;

 private:
  bool open_ = false;
  std::string input_;
};

}  // namespace kvx
