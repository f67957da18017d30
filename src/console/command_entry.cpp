#include "console/command_entry.h"

#include <QKeyEvent>
#include <algorithm>

namespace kvx::console {
namespace {

constexpr qsizetype kMostCommands = 100;
constexpr int kLongestCommand = 1000;  // characters

}  // namespace

CommandEntry::CommandEntry(QWidget* parent) : QLineEdit(parent) {
  setMaxLength(kLongestCommand);
  connect(this, &QLineEdit::returnPressed, this, &CommandEntry::Take);
}

void CommandEntry::Take() {
  const QString command = text();
  if (command.trimmed().isEmpty()) return;
  if (history_.isEmpty() || history_.last() != command) history_.append(command);
  if (history_.size() > kMostCommands) history_.removeFirst();
  place_ = history_.size();
  clear();
  if (on_command) on_command(command);
}

void CommandEntry::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Up) return GoTo(place_ - 1);
  if (event->key() == Qt::Key_Down) return GoTo(place_ + 1);
  QLineEdit::keyPressEvent(event);
}

void CommandEntry::GoTo(qsizetype place) {
  place = std::clamp<qsizetype>(place, 0, history_.size());
  if (place == place_) return;
  if (place_ == history_.size()) draft_ = text();
  place_ = place;
  setText(place == history_.size() ? draft_ : history_.at(place));
}

}  // namespace kvx::console
