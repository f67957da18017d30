#pragma once

#include <QDialog>
#include <vector>

#include "console/doctor.h"

class QLabel;
class QListWidget;
class QPushButton;

namespace kvx::console {

/// What keeps the station from working, a line a finding. Examines when it is opened, and again when it is asked to.
class DoctorWindow final : public QDialog {
  Q_OBJECT

 public:
  explicit DoctorWindow(Doctor& doctor, QWidget* parent = nullptr);

  void Examine();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  Task Run();
  void Show(const Finding& finding);
  void Ended();
  void Copy() const;

  Doctor& doctor_;
  QListWidget* list_;
  QLabel* summary_;
  QPushButton* again_;
  std::vector<Finding> findings_;
  Task examination_;
};

}  // namespace kvx::console
