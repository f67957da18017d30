#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <vector>

#include "console/link_list.h"

class QLabel;
class QPlainTextEdit;
class QTableWidget;

namespace kvx::console {

/// What other programs want of this station: a line for each link, and what the logger has sent. Looks at the links a
/// few times a second while it is open, however busy they are.
class LinkWindow final : public QWidget {
  Q_OBJECT

 public:
  explicit LinkWindow(Station& station, QWidget* parent = nullptr);
  ~LinkWindow() override;

  /// Shows what has come since; the timer calls it.
  void Refresh();

 protected:
  void changeEvent(QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void MakeTable();
  void Listen(bool on);
  void ShowRow(int row, const LinkLine& line, double seconds);
  void Put(int row, int column, const QString& text);
  void FitColumns();

  Station& station_;
  QTableWidget* table_;
  QLabel* program_;
  QPlainTextEdit* received_;
  QPlainTextEdit* cw_;
  QTimer timer_;
  QElapsedTimer since_;
  int rounds_ = 0;
  std::string heard_;  ///< from the logger, not shown yet
  std::vector<std::uint64_t> asked_;
};

}  // namespace kvx::console
