#pragma once

#include <QWidget>

namespace kvx::widgets {

/// A line of text in which every digit has the same width, whatever the font, so that a running number never shakes the
/// text around it. Takes its colour and font from the style sheet as a label does.
class TabularLabel final : public QWidget {
  Q_OBJECT

 public:
  /// `name` for the screen reader; it reads the text as the value.
  explicit TabularLabel(const QString& name, QWidget* parent = nullptr);

  void SetText(const QString& text);
  /// The size of its text in sizes of the label's font.
  void SetScale(double scale);
  const QString& text() const { return text_; }
  void SetAlignment(Qt::Alignment alignment) { alignment_ = alignment; }
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  double Width(QChar character) const;
  double TextWidth() const;

  QString text_;
  double scale_ = 1;
  Qt::Alignment alignment_ = Qt::AlignLeft;
};

}  // namespace kvx::widgets
