#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace kvx {

/// Those who follow something, told in the order in which they came. Any of them may come or go meanwhile.
class Listeners final {
 public:
  using Listener = std::function<void()>;
  /// Keeps a listener in place; ends with it.
  using Following = std::shared_ptr<const Listener>;

  Listeners() = default;
  Listeners(const Listeners&) = delete;
  Listeners& operator=(const Listeners&) = delete;

  [[nodiscard]] Following Follow(Listener listener) {
    auto following = std::make_shared<const Listener>(std::move(listener));
    listeners_.push_back(following);
    return following;
  }
  void Tell() {
    std::erase_if(listeners_, [](const auto& listener) { return listener.expired(); });
    const auto present = listeners_;
    for (const auto& listener : present) {
      if (const Following following = listener.lock()) (*following)();
    }
  }

 private:
  std::vector<std::weak_ptr<const Listener>> listeners_;
};

}  // namespace kvx
