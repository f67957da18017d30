#pragma once

#include <QObject>
#include <QProcess>
#include <QTimer>
#include <memory>
#include <string>
#include <vector>

#include "platform/dde_transport.h"
#include "platform/gateway_lines.h"

namespace kvx::platform {

/// DDE for the programs that Wine runs: starts the gateway program in the user's own Wine, feeds it with the items'
/// data and hears what clients want. It never waits for the gateway; one that ends is started again, later each time.
class WineGateway final : public DdeTransport {
 public:
  /// `program`: the gateway's file.
  explicit WineGateway(std::string program);
  ~WineGateway() override;

  void Start(const std::string& service, const std::string& topic, const std::vector<std::string>& items) override;
  void TakeOver() override { Say("again"); }
  void Stop() override;
  void PostAdvise(const std::string& item) override;
  int conversations() const override { return conversations_; }
  std::string missing() const override;
  /// The user has used Wine already: to set up its folder takes long and fills a disk.
  bool is_at_hand() const override;

 private:
  void Run();
  void Receive();
  void TakeLine(std::string_view line);
  void TakeCall(std::string_view line);
  void Ended();
  void Say(const std::string& line);
  void SayData(const std::string& item);
  void Tell(DdeService service, const std::string& why);

  std::string program_;
  std::string service_;
  std::string topic_;
  std::vector<std::string> items_;
  std::unique_ptr<QProcess> process_;
  std::vector<std::unique_ptr<QProcess>> ending_;  ///< their input has ended, and they are about to
  GatewayLines lines_;
  QTimer again_;
  QObject context_;
  int conversations_ = 0;
  int failures_ = 0;  ///< in a row
  std::string why_;   ///< the gateway's own word for its end
};

}  // namespace kvx::platform
