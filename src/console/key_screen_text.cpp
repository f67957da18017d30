#include "console/key_screen_text.h"

#include <QContextMenuEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QScrollBar>
#include <algorithm>

namespace kvx::console {
namespace {

constexpr double kTextScale = 1.3;  // it is read from further away

/// What the box itself does with a key: looking about and copying.
bool IsLookingAbout(const QKeyEvent& key) {
  static constexpr QKeySequence::StandardKey kKeys[] = {QKeySequence::Copy,
                                                        QKeySequence::SelectAll,
                                                        QKeySequence::MoveToPreviousChar,
                                                        QKeySequence::MoveToNextChar,
                                                        QKeySequence::MoveToPreviousLine,
                                                        QKeySequence::MoveToNextLine,
                                                        QKeySequence::MoveToPreviousWord,
                                                        QKeySequence::MoveToNextWord,
                                                        QKeySequence::MoveToStartOfLine,
                                                        QKeySequence::MoveToEndOfLine,
                                                        QKeySequence::SelectPreviousChar,
                                                        QKeySequence::SelectNextChar,
                                                        QKeySequence::SelectPreviousWord,
                                                        QKeySequence::SelectNextWord,
                                                        QKeySequence::SelectStartOfLine,
                                                        QKeySequence::SelectEndOfLine};
  return std::any_of(std::begin(kKeys), std::end(kKeys), [&](auto standard) { return key.matches(standard); });
}

/// Typed text, and not a shortcut that happens to have one.
bool IsTyping(const QKeyEvent& key) {
  if (key.text().isEmpty() || (key.modifiers() & Qt::MetaModifier)) return false;
  const bool control = key.modifiers() & Qt::ControlModifier;
  const bool alt = key.modifiers() & Qt::AltModifier;
  return key.text().at(0).isPrint() && control == alt;  // both: the third level of some keyboards
}

bool IsReturn(const QKeyEvent& key) {
  return key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
}

}  // namespace

CWText::CWText(const widgets::Appearance& appearance) : appearance_(appearance) {
  setObjectName("CWText");
  setAcceptRichText(false);
  setUndoRedoEnabled(false);
  setTabChangesFocus(true);
  connect(&appearance_, &widgets::Appearance::Changed, this, [this] { Color(); });
  connect(this, &QTextEdit::textChanged, this, [this] { TakeForeignEdit(); });
}

/// Only what changes is changed, so that a screen reader reads what is new.
void CWText::Put(const QString& text) {
  const auto [same, rest] = std::mismatch(text_.begin(), text_.end(), text.begin(), text.end());
  const int kept = static_cast<int>(same - text_.begin());
  putting_ = true;
  QTextCursor cursor(document());
  cursor.setPosition(kept);
  cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
  if (cursor.hasSelection() || kept < text.size()) cursor.insertText(text.mid(kept));
  putting_ = false;
  text_ = text;
}

void CWText::Show(const Shown& shown) {
  if (shown == shown_) return;
  const QScrollBar& bar = *verticalScrollBar();
  const bool follow = bar.value() >= bar.maximum();
  const bool selecting = textCursor().hasSelection();
  if (shown.text() != text_) Put(shown.text());
  shown_ = shown;
  Color();
  if (selecting || !follow) return;
  moveCursor(QTextCursor::End);
  ensureCursorVisible();
}

void CWText::Color() {
  const widgets::Theme& theme = appearance_.theme();
  QTextCharFormat sent;
  sent.setFontPointSize(font().pointSizeF() * kTextScale);
  sent.setForeground(widgets::QuietInkOn(theme.screen, theme.digits));
  QTextCharFormat current = sent;
  current.setForeground(theme.accent_ink);
  current.setBackground(theme.accent);
  QTextCharFormat waiting = sent;
  waiting.setForeground(theme.digits);
  putting_ = true;
  QTextCursor cursor(document());
  const auto paint = [&cursor](qsizetype count, const QTextCharFormat& format) {
    cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor, static_cast<int>(count));
    cursor.setCharFormat(format);
    cursor.clearSelection();
  };
  paint(shown_.sent.size(), sent);
  paint(shown_.current.size(), current);
  paint(shown_.waiting.size(), waiting);
  putting_ = false;
}

void CWText::Type(const QString& text) {
  if (on_type && !text.isEmpty()) on_type(text);
}

/// A key of the window's own stays the window's, although a text box would know something to do with it.
bool CWText::event(QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride) {
    const auto& key = *static_cast<QKeyEvent*>(event);
    const bool ours = IsTyping(key) || IsReturn(key) || key.key() == Qt::Key_Backspace || IsLookingAbout(key) ||
                      key.matches(QKeySequence::Paste);
    event->setAccepted(ours);
    return ours;
  }
  return QTextEdit::event(event);
}

void CWText::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Backspace) {
    if (on_backspace) on_backspace();
  } else if (IsReturn(*event)) {
    Type(" ");
  } else if (IsTyping(*event)) {
    Type(event->text());
  } else if (IsLookingAbout(*event) || event->matches(QKeySequence::Paste) || event->key() == Qt::Key_Tab ||
             event->key() == Qt::Key_Backtab) {
    QTextEdit::keyPressEvent(event);
  } else {
    event->ignore();
  }
}

void CWText::inputMethodEvent(QInputMethodEvent* event) {
  Type(event->commitString());
  event->accept();
}

void CWText::insertFromMimeData(const QMimeData* source) {
  Type(source->text());
}

void CWText::contextMenuEvent(QContextMenuEvent* event) {
  auto* menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  menu->addAction(tr("&Copy"), QKeySequence::Copy, this, &QTextEdit::copy)->setEnabled(textCursor().hasSelection());
  menu->addAction(tr("&Paste and send"), QKeySequence::Paste, this, &QTextEdit::paste)->setEnabled(canPaste());
  menu->popup(event->globalPos());
}

/// Assistive technology edits the text itself: what it puts at the end is typed, what it takes from there is taken
/// back, and the box shows again what the sender says.
void CWText::TakeForeignEdit() {
  if (putting_) return;
  const QString now = toPlainText();
  const QString before = text_;
  text_ = now;
  Put(before);
  Color();
  if (now.startsWith(before)) {
    Type(now.mid(before.size()));
  } else if (before.startsWith(now)) {
    for (qsizetype i = now.size(); i < before.size() && on_backspace; ++i) on_backspace();
  }
}

}  // namespace kvx::console
