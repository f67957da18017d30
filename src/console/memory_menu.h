#pragma once

#include <QMenu>
#include <functional>
#include <vector>

#include "console/memory_list.h"

class QAction;

namespace kvx::console {

/// The console's menu of the memory channels: steps through them, stores, recalls the first ten that have a name, and
/// has the keys of the rig's own memories. Its keys work without opening it.
class MemoryMenu final : public QMenu {
  Q_OBJECT

 public:
  /// `window`: where its keys count.
  MemoryMenu(Station& station, QWidget* window);

  std::function<void()> on_open_table;

 private:
  struct RigKey {
    QAction* action;
    const char* key;
  };

  void MakeNamed(QWidget* window);
  void ShowChannels();
  void RecallNamed(std::size_t place);

  Station& station_;
  QAction* none_ = nullptr;
  std::vector<QAction*> named_;
  std::vector<RigKey> rig_keys_;
};

}  // namespace kvx::console
