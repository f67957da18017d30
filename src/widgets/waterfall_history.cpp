#include "widgets/waterfall_history.h"

#include <algorithm>
#include <cmath>

namespace kvx::widgets {
namespace {

constexpr std::int64_t kNever = -1;

bool SameScale(const ToneScale& a, const ToneScale& b) {
  return a.from() == b.from() && a.to() == b.to() && a.width() == b.width();
}

}  // namespace

void WaterfallHistory::Fit(const ToneScale& scale, int rows) {
  const int held = std::max(rows, 0);
  if (!SameScale(scale, scale_) || held != rows_) Rebuild(scale, held, overwriting_);
}

void WaterfallHistory::SetOverwriting(bool overwriting) {
  if (overwriting != overwriting_) Rebuild(scale_, rows_, overwriting);
}

int WaterfallHistory::RowOfAge(int age) const {
  const int row = overwriting_ ? newest_ - age : newest_ + age;
  return (row % rows_ + rows_) % rows_;
}

void WaterfallHistory::Rebuild(const ToneScale& scale, int rows, bool overwriting) {
  const WaterfallHistory old = *this;
  scale_ = scale;
  rows_ = rows;
  overwriting_ = overwriting;
  shades_.assign(width() * static_cast<std::size_t>(rows), 0);
  times_.assign(static_cast<std::size_t>(rows), kNever);
  newest_ = overwriting_ && rows > 0 ? rows - 1 : 0;
  const std::size_t old_width = old.width();
  std::vector<std::size_t> sources(width(), old_width);  // the old width: there is nothing
  for (std::size_t x = 0; x < sources.size(); ++x) {
    const double hertz = scale.HertzAt(static_cast<double>(x) + 0.5);
    const double place = old.scale_.empty() ? -1 : std::floor(old.scale_.XOf(hertz));
    if (place >= 0 && place < static_cast<double>(old_width)) sources[x] = static_cast<std::size_t>(place);
  }
  for (int age = 0; age < std::min(rows, old.rows_); ++age) {
    const auto from = static_cast<std::size_t>(old.RowOfAge(age));
    const auto to = static_cast<std::size_t>(RowOfAge(age));
    times_[to] = old.times_[from];
    for (std::size_t x = 0; x < sources.size(); ++x)
      if (sources[x] < old_width) shades_[to * width() + x] = old.shades_[from * old_width + sources[x]];
  }
}

std::span<std::uint8_t> WaterfallHistory::Add(std::int64_t milliseconds) {
  if (rows_ == 0) return {};
  newest_ = RowOfAge(-1);
  times_[static_cast<std::size_t>(newest_)] = milliseconds;
  return std::span(shades_).subspan(static_cast<std::size_t>(newest_) * width(), width());
}

std::span<const std::uint8_t> WaterfallHistory::row(int index) const {
  return std::span(shades_).subspan(static_cast<std::size_t>(index) * width(), width());
}

std::optional<std::int64_t> WaterfallHistory::TimeAt(int picture_row) const {
  if (picture_row < 0 || picture_row >= rows_) return std::nullopt;
  const std::int64_t time = times_[static_cast<std::size_t>((top() + picture_row) % rows_)];
  return time == kNever ? std::nullopt : std::optional(time);
}

}  // namespace kvx::widgets
