#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace kvx::platform {

/// A DDE service on plain windows: one that clients find, and one for each conversation. The platform's DDE library is
/// not used, because Wine's posts an acknowledgement after the data of a request, which the next synchronous request of
/// a client takes for its answer. Requests and advise links are answered from a copy of the items' data; an execute and
/// a poke wait for their outcome without holding up anything else. Its thread runs the platform's message loop.
class DdeWindow final {
 public:
  enum class Outcome { kRegistered, kFound, kFailed };

  DdeWindow();
  ~DdeWindow();
  DdeWindow(const DdeWindow&) = delete;
  DdeWindow& operator=(const DdeWindow&) = delete;

  /// An item that clients may name, which is found anywhere in the name they give.
  void AddItem(std::string name, bool advise);
  /// The item's data from now on, which its advise links get. An empty block: there is none.
  void SetData(std::string_view name, std::string block);
  /// Looks for the service, and offers it when nobody else does; else stays a client of the one that does.
  Outcome Start(const std::string& service, const std::string& topic);
  /// Whoever was found to offer the service has ended that.
  bool is_free() const;
  /// The outcome of a call.
  void Answer(int call, bool done);
  int conversations() const;

  std::function<void(int call, std::string_view command)> on_execute;
  std::function<void(int call, std::string_view item, std::string_view data)> on_poke;
  std::function<void()> on_conversations;  ///< their number has changed

 private:
  class Service;
  std::unique_ptr<Service> service_;
};

}  // namespace kvx::platform
