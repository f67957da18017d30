#pragma once

#include <QFrame>
#include <QTimer>
#include <string>
#include <vector>

#include "audio/audio_analysis.h"
#include "widgets/appearance.h"

QT_BEGIN_NAMESPACE
class QLabel;
class QTextEdit;
QT_END_NAMESPACE

namespace kvx::audio {

/// What the decoder has read, corrected words in light grey, and the speed of what it reads. Shows only what is new,
/// and tells a screen reader the new words now and then.
class DecodedTextBox final : public QFrame {
  Q_OBJECT

 public:
  explicit DecodedTextBox(const widgets::Appearance& appearance, QWidget* parent = nullptr);

  void Show(const std::vector<DecodedText>& text);
  /// 0: not known.
  void ShowSpeed(int words_a_minute);
  QTextEdit* text() const { return text_; }

 private:
  void Dress();
  void Append(std::string_view flat);
  void Read();

  const widgets::Appearance& appearance_;
  QLabel* speed_;      ///< CWSp
  QTextEdit* text_;    ///< RichTextBox1
  QLabel* reader_;     ///< has the new words as its name
  std::string shown_;  ///< as FlatText has it
  std::string unread_;
  QTimer pause_;
};

}  // namespace kvx::audio
