#pragma once

#include <QTextEdit>
#include <functional>

#include "widgets/appearance.h"

namespace kvx::console {

/// The text box of the send window. What is typed, pasted or put in by assistive technology is handed on at
/// once; what it shows is what the sender says: sent text quietly, the sign being sent on the accent, what waits in
/// ink. Nothing in it can be edited but the end of what waits.
class CWText final : public QTextEdit {
  Q_OBJECT

 public:
  explicit CWText(const widgets::Appearance& appearance);

  struct Shown {
    QString sent, current, waiting;
    bool operator==(const Shown&) const = default;
    QString text() const { return sent + current + waiting; }
  };
  void Show(const Shown& shown);

  std::function<void(const QString& text)> on_type;
  std::function<void()> on_backspace;

 protected:
  bool event(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void inputMethodEvent(QInputMethodEvent* event) override;
  void insertFromMimeData(const QMimeData* source) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  void Type(const QString& text);
  void Put(const QString& text);
  void Color();
  void TakeForeignEdit();

  const widgets::Appearance& appearance_;
  Shown shown_;
  QString text_;
  bool putting_ = false;
};

}  // namespace kvx::console
