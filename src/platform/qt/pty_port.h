#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <string>

#include "platform/posix/descriptor.h"
#include "platform/qt/later_call.h"
#include "platform/serial_port.h"

namespace kvx::platform {

/// A virtual serial port: a pseudo-terminal whose far end other programs open and close as they like, under a link with
/// a name that stays. Opening it again while it is open keeps the pair, so that a program at the far end is not cut
/// off.
class PtyPort final : public SerialPort {
 public:
  /// `link`: where the link to the far end shall stand; empty for none.
  explicit PtyPort(std::string link);
  ~PtyPort() override;

  Status Open(const PortSettings& settings) override;
  void Close() override;
  bool is_open() const override;
  void Write(std::string_view bytes) override;
  std::string Read() override;
  std::size_t bytes_waiting() const override;
  std::size_t bytes_unsent() const override;
  void SetDtr(bool on) override;
  void SetRts(bool on) override;
  void DropUnsent() override;

  /// The device name of the far end; empty while closed.
  const std::string& slave_path() const { return slave_path_; }
  /// The system's number for the console's end, -1 while it is closed.
  int descriptor() const { return master_.get(); }

  /// Another program has closed the far end, and on_data has told what it had written; the port stays open.
  std::function<void()> on_visit_ended;

 private:
  Status MakePair();
  Status MakeLink();
  void RemoveLink();
  void WatchVisits();
  void VisitEnded();
  bool Receive();
  void Send();

  std::string link_;
  std::string slave_path_;
  Descriptor master_;
  Descriptor slave_;   ///< kept, or the pair would hang up each time the other program closes its end
  Descriptor visits_;  ///< tells when another program has closed the far end
  std::unique_ptr<QSocketNotifier> visit_ended_;
  std::unique_ptr<QSocketNotifier> readable_;
  std::unique_ptr<QSocketNotifier> writable_;
  std::string input_;
  std::string output_;
  LaterCall data_;
  LaterCall visit_end_;  ///< behind data_, as it is requested later
};

}  // namespace kvx::platform
