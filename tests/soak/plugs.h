#pragma once

#include <set>
#include <string>
#include <vector>

#include "sim/simulated_port.h"

namespace kvx {

class PluggedPort;

/// The plugs of a station's simulated devices: an operator pulls and puts them back.
class Plugs final {
 public:
  void Pull(const std::string& address);
  void PutBack() { pulled_.clear(); }
  bool are_pulled(const std::string& address) const { return pulled_.contains(address); }

 private:
  friend class PluggedPort;
  std::set<std::string> pulled_;
  std::vector<PluggedPort*> ports_;
};

/// A port to a simulated device that vanishes when its plug is pulled.
class PluggedPort final : public platform::SerialPort {
 public:
  PluggedPort(std::string address, Loop& loop, Plugs& plugs) : address_(address), plugs_(plugs), port_(address, loop) {
    plugs_.ports_.push_back(this);
    port_.on_data = [this] {
      if (on_data) on_data();
    };
  }
  ~PluggedPort() override { std::erase(plugs_.ports_, this); }

  Status Open(const platform::PortSettings& settings) override {
    if (plugs_.are_pulled(address_)) return Error{ErrorCode::kNotFound, address_ + " does not exist"};
    return port_.Open(settings);
  }
  void Close() override { port_.Close(); }
  bool is_open() const override { return port_.is_open(); }
  void Write(std::string_view bytes) override {
    ++writes;
    port_.Write(bytes);
  }
  std::string Read() override { return port_.Read(); }
  std::size_t bytes_waiting() const override { return port_.bytes_waiting(); }
  std::size_t bytes_unsent() const override { return port_.bytes_unsent(); }
  void SetDtr(bool on) override { port_.SetDtr(on); }
  void SetRts(bool on) override { port_.SetRts(on); }
  void DropUnsent() override { port_.DropUnsent(); }

  sim::SimulatedDevice* device() { return port_.device(); }
  const std::string& address() const { return address_; }

  int writes = 0;

 private:
  friend class Plugs;
  void Vanish() {
    if (!port_.is_open()) return;
    port_.Close();
    if (on_lost) on_lost(address_ + " has gone");
  }

  std::string address_;
  Plugs& plugs_;
  sim::SimulatedPort port_;
};

inline void Plugs::Pull(const std::string& address) {
  pulled_.insert(address);
  const std::vector<PluggedPort*> ports = ports_;
  for (PluggedPort* port : ports) {
    if (port->address() == address) port->Vanish();
  }
}

}  // namespace kvx
