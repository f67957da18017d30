#include "audio/decoded_text.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QScrollBar>
#include <QTextEdit>
#include <chrono>

#include "audio/text_change.h"
#include "widgets/painting.h"
#include "widgets/qt_text.h"

namespace kvx::audio {
namespace {

using std::chrono_literals::operator""s;
using widgets::Named;
using widgets::ToQt;
using widgets::WithRole;

constexpr double kTextScale = 1.5;
constexpr double kLines = 2.7;  // at least
constexpr int kUsualLines = 4;
constexpr int kPaperMargin = 8;  // of the text in its box
constexpr auto kReadingPause = 2s;
constexpr double kVisible = 2;  // contrast
const QColor kCorrectedInk(0xC0, 0xC0, 0xC0);

/// A text box with a block behind its last character.
class Paper final : public QTextEdit {
 public:
  explicit Paper(const widgets::Appearance& appearance) : appearance_(appearance) {}

  QSize sizeHint() const override { return {0, static_cast<int>(fontMetrics().height() * (kUsualLines + 0.5))}; }

 protected:
  void paintEvent(QPaintEvent* event) override {
    QTextEdit::paintEvent(event);
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    const QRectF place = cursorRect(end);
    QPainter painter(viewport());
    painter.fillRect(QRectF(place.left(), place.top() + 2, place.height() / 6, place.height() - 4),
                     appearance_.theme().accent);
  }

 private:
  const widgets::Appearance& appearance_;
};

QColor InkOf(const widgets::Theme& theme) {
  return theme.name == "classic" ? theme.digits : theme.ink;
}

QColor CorrectedInk(const widgets::Theme& theme) {
  if (widgets::Contrast(kCorrectedInk, theme.screen) >= kVisible) return kCorrectedInk;
  return widgets::QuietInkOn(theme.screen, theme.digits);
}

}  // namespace

DecodedTextBox::DecodedTextBox(const widgets::Appearance& appearance, QWidget* parent)
    : QFrame(parent),
      appearance_(appearance),
      speed_(WithRole(Named(new QLabel, tr("Speed"), tr("Words a minute of what is being read")), "quiet")),
      text_(WithRole(Named(new Paper(appearance), tr("Decoded text"),
                           tr("What the decoder has read; corrected words in grey"), QKeySequence("Alt+T")),
                     "chip")),
      reader_(new QLabel) {
  WithRole(this, "screen");
  speed_->setContentsMargins(0, kPaperMargin, 0, 0);
  speed_->setObjectName("CWSp");
  text_->setObjectName("RichTextBox1");
  text_->setReadOnly(true);
  text_->setTabChangesFocus(true);
  text_->setUndoRedoEnabled(false);
  text_->setFrameShape(QFrame::NoFrame);
  text_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  reader_->setAccessibleName(tr("Nothing has been read yet"));
  reader_->setFixedSize(1, 1);
  auto* row = new QHBoxLayout(this);
  row->addWidget(speed_, 0, Qt::AlignTop);
  row->addWidget(text_, 1);
  row->addWidget(reader_, 0, Qt::AlignBottom);
  pause_.setSingleShot(true);
  pause_.setInterval(kReadingPause);
  connect(&pause_, &QTimer::timeout, this, &DecodedTextBox::Read);
  connect(&appearance, &widgets::Appearance::Changed, this, &DecodedTextBox::Dress);
  Dress();
  ShowSpeed(0);
}

void DecodedTextBox::Dress() {
  QFont font = widgets::FixedFont();
  font.setPixelSize(static_cast<int>(widgets::Em(*this) * kTextScale));
  text_->setFont(font);
  text_->setMinimumHeight(static_cast<int>(QFontMetrics(font).height() * kLines));
  speed_->setFont(font);
  speed_->setMinimumWidth(QFontMetrics(font).horizontalAdvance("00 wpm "));
  const std::string again = std::exchange(shown_, {});
  text_->clear();
  Append(again);
  shown_ = again;
}

void DecodedTextBox::ShowSpeed(int words_a_minute) {
  widgets::ShowText(speed_, words_a_minute > 0 ? tr("%1 wpm").arg(words_a_minute) : tr("– wpm"));
}

void DecodedTextBox::Show(const std::vector<DecodedText>& text) {
  const std::string now = FlatText(text);
  const TextChange change = FindTextChange(shown_, now);
  if (change.kept == now.size() && change.removed_in_front + change.kept == shown_.size() &&
      change.removed_in_front == 0)
    return;
  QScrollBar* bar = text_->verticalScrollBar();
  const bool at_end = bar->value() == bar->maximum();
  const auto remove = [this](std::size_t from, std::size_t to) {
    QTextCursor cursor(text_->document());
    cursor.setPosition(static_cast<int>(from));
    cursor.setPosition(static_cast<int>(to), QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
  };
  remove(change.removed_in_front + change.kept, shown_.size());
  remove(0, change.removed_in_front);
  const std::string_view added = std::string_view(now).substr(change.kept);
  Append(added);
  if (at_end) bar->setValue(bar->maximum());
  shown_ = now;
  if (!QAccessible::isActive()) return;
  for (const char character : added) unread_ += static_cast<char>(character & 0x7f);
  if (!pause_.isActive()) pause_.start();
}

void DecodedTextBox::Append(std::string_view flat) {
  QTextCursor end(text_->document());
  end.movePosition(QTextCursor::End);
  while (!flat.empty()) {
    const char kind = static_cast<char>(flat.front() & kCorrected);
    std::string run;
    while (!flat.empty() && (flat.front() & kCorrected) == kind) {
      run += static_cast<char>(flat.front() & 0x7f);
      flat.remove_prefix(1);
    }
    QTextCharFormat format;
    format.setForeground(kind != 0 ? CorrectedInk(appearance_.theme()) : InkOf(appearance_.theme()));
    end.insertText(ToQt(run), format);
  }
}

/// The words that are complete; what is left waits for the next time.
void DecodedTextBox::Read() {
  const std::size_t blank = unread_.find_last_of(' ');
  if (blank == std::string::npos) return;
  const QString words = ToQt(unread_.substr(0, blank)).simplified();
  unread_.erase(0, blank + 1);
  if (!words.isEmpty()) reader_->setAccessibleName(words);
  if (!unread_.empty()) pause_.start();
}

}  // namespace kvx::audio
