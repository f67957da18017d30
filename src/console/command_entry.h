#pragma once

#include <QLineEdit>
#include <QStringList>
#include <functional>

namespace kvx::console {

/// A line in which commands are typed; Return gives one away, and Up and Down bring back those before.
class CommandEntry final : public QLineEdit {
  Q_OBJECT

 public:
  explicit CommandEntry(QWidget* parent = nullptr);

  std::function<void(const QString& command)> on_command;

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void Take();
  void GoTo(qsizetype place);

  QStringList history_;  ///< the oldest first
  qsizetype place_ = 0;  ///< in the history; its end: the line that is being typed
  QString draft_;        ///< what had been typed before Up
};

}  // namespace kvx::console
