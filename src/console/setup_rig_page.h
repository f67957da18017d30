#pragma once

#include <QComboBox>
#include <QLineEdit>
#include <QTableWidget>
#include <QTreeWidget>
#include <functional>
#include <vector>

#include "console/rig_makers.h"
#include "console/setup_form.h"
#include "console/station_setup.h"

namespace kvx::console {

/// Which rig: all definitions by maker with a search, the rig's address, and the eight saved rigs.
class SetupRigPage final : public QWidget {
  Q_OBJECT

 public:
  explicit SetupRigPage(StationSetup& setup);

  void Refresh();
  void Follow(Field field);

  std::function<void()> on_use_simulated_rig;
  std::function<void()> on_edit_definition;
  std::function<void()> on_rig_chosen;  ///< another one than before

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void AddFirstStart();
  void AddRigs();
  void AddSavedRigs();
  void FillRigs();
  void ListRigs(const std::vector<RigGroup>& groups);
  void FillAddresses();
  void FillSavedRigs();
  void FitHeights();
  void MarkRig(QTreeWidgetItem* item);
  void UseChosen();
  void UseRig(const std::string& name);
  void WithSlot(const std::function<void(int slot)>& action);

  StationSetup& setup_;
  SetupForm form_;
  QFrame* first_start_ = nullptr;
  QLineEdit* search_ = nullptr;
  QTreeWidget* rigs_ = nullptr;
  std::vector<RigGroup> listed_;  ///< what the list shows
  QComboBox* address_ = nullptr;
  QTableWidget* saved_ = nullptr;
};

}  // namespace kvx::console
