#pragma once

#include <string>

namespace kvx::platform {

/// Looks for a program that offers a DDE service, and stays in conversation with it, so that it knows when that program
/// ends the service. Its thread runs the platform's message loop.
class DdeSearch final {
 public:
  DdeSearch() = default;
  ~DdeSearch();
  DdeSearch(const DdeSearch&) = delete;
  DdeSearch& operator=(const DdeSearch&) = delete;

  /// True when there is one.
  bool Find(const std::string& service, const std::string& topic);
  /// The one that was found still offers it.
  bool is_found() const;

 private:
  void* window_ = nullptr;
};

}  // namespace kvx::platform
