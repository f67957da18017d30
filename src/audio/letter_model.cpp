#include "audio/letter_model.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <string>

#include "audio/morse_table.h"
#include "core/text.h"

namespace kvx::audio {
namespace {

constexpr double kWordShare = 0.6;    // of what is sent; the rest follows no list
constexpr double kRareSign = 0.0002;  // a sign that hardly anybody sends
constexpr int kOrder = 3;

enum class Kind { kBlank, kLetter, kDigit, kUsual, kRare };

Kind KindOf(Symbol symbol) {
  if (symbol == kBlank) return Kind::kBlank;
  const char character = CharacterOf(symbol);
  if (character >= 'A' && character <= 'Z') return Kind::kLetter;
  if (IsDigit(character)) return Kind::kDigit;
  return std::string_view("?/=.,").find(character) != std::string_view::npos ? Kind::kUsual : Kind::kRare;
}

// How much of what follows no list a single symbol of a kind is, after a blank, a letter or sign, a digit.
double PlainShare(Kind kind, Kind before) {
  switch (kind) {
    case Kind::kBlank:
      return before == Kind::kBlank ? 0.0 : 0.17;
    case Kind::kLetter:
      return before == Kind::kDigit ? 0.016 : 0.025;
    case Kind::kDigit:
      return before == Kind::kDigit ? 0.036 : before == Kind::kBlank ? 0.018 : 0.014;
    case Kind::kUsual:
      return 0.005;
    case Kind::kRare:
      return kRareSign;
  }
  return 0;
}

std::array<double, kSymbols> PlainRow(Kind before) {
  std::array<double, kSymbols> row{};
  double sum = 0;
  for (std::size_t i = 0; i < kSymbols; ++i) sum += row[i] = PlainShare(KindOf(static_cast<Symbol>(i)), before);
  for (double& share : row) share /= sum;
  return row;
}

std::optional<Symbol> SymbolOf(char character) {
  const auto table = MakeChar();
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (table[i].character == character) return static_cast<Symbol>(i + 1);
  }
  return std::nullopt;
}

struct Counts {
  std::array<double, kSymbols> of{};
  double all = 0;
  double kinds = 0;  ///< how many symbols have been seen
};

/// How often symbols follow others, by how many others and which.
using Statistics = std::array<std::map<LetterModel::Context, Counts>, kOrder + 1>;

void Learn(Statistics& statistics, std::string_view word, double weight) {
  LetterModel::Context context = LetterModel::kStart;
  for (std::size_t i = 0; i <= word.size(); ++i) {
    const Symbol symbol = i < word.size() ? SymbolOf(word[i]).value_or(kBlank) : kBlank;
    for (int order = 0; order <= kOrder; ++order) {
      Counts& counts = statistics[static_cast<std::size_t>(order)][context & ((1U << 6 * order) - 1)];
      if (counts.of[symbol] == 0) ++counts.kinds;
      counts.of[symbol] += weight;
      counts.all += weight;
    }
    context = LetterModel::After(context, symbol);
  }
}

}  // namespace

char CharacterOf(Symbol symbol) {
  static const auto table = MakeChar();
  return symbol == kBlank ? ' ' : table[static_cast<std::size_t>(symbol) - 1].character;
}

LetterModel::LetterModel(std::string_view words) : row_of_(std::size_t{kContextMask} + 1) {
  Statistics statistics;
  double rank = 10;
  for (const std::string& line : Split(words, '\n')) {
    const std::string word = Upper(Trim(line));
    if (word.empty()) continue;
    Learn(statistics, word, 300 / rank++);
  }
  // A context that has not been seen tells what its newer part tells; each order corrects the one below it.
  const auto mixed = [&](Context context) {
    std::array<double, kSymbols> row = PlainRow(Kind::kLetter);
    for (std::size_t order = 0; order <= kOrder; ++order) {
      const auto found = statistics[order].find(context & ((1U << 6 * order) - 1));
      if (found == statistics[order].end()) break;
      const Counts& counts = found->second;
      for (std::size_t i = 0; i < kSymbols; ++i) {
        row[i] = (counts.of[i] + counts.kinds * row[i]) / (counts.all + counts.kinds);
      }
    }
    const std::array<double, kSymbols> plain = PlainRow(KindOf(static_cast<Symbol>(context & 63U)));
    Row logs{};
    for (std::size_t i = 0; i < kSymbols; ++i) {
      logs[i] = static_cast<float>(std::log(kWordShare * row[i] + (1 - kWordShare) * plain[i] + 1e-9));
    }
    return logs;
  };
  const auto add_row = [&](Context context) {
    rows_.push_back(mixed(context));
    return static_cast<std::uint16_t>(rows_.size() - 1);
  };
  for (Context last = 0; last < kSymbols; ++last) {
    const std::uint16_t row = add_row((kContextMask & ~63U) | last);
    for (Context rest = 0; rest < 64 * 64; ++rest) row_of_[rest << 6 | last] = row;
  }
  for (const auto& [pair, counts] : statistics[2]) {
    const std::uint16_t row = add_row(63U << 12 | pair);
    for (Context first = 0; first < 64; ++first) row_of_[first << 12 | pair] = row;
  }
  for (const auto& [context, counts] : statistics[3]) row_of_[context] = add_row(context);
}

float LetterModel::LogProbability(Context context, Symbol symbol) const {
  return rows_[row_of_[context & kContextMask]][symbol];
}

CodeTree::CodeTree() : nodes_(1) {
  std::vector<double> shares(1);
  const auto table = MakeChar();
  const std::array<double, kSymbols> plain = PlainRow(Kind::kBlank);
  for (std::size_t i = 0; i < table.size(); ++i) {
    Node node = kRoot;
    shares[0] += plain[i + 1];
    for (const char sign : table[i].code) {
      Node& next = nodes_[static_cast<std::size_t>(node)].next[sign == '-' ? 1 : 0];
      const bool fresh = next == kNone;
      if (fresh) next = static_cast<Node>(nodes_.size());
      node = next;
      if (fresh) nodes_.emplace_back(), shares.push_back(0);
      shares[static_cast<std::size_t>(node)] += plain[i + 1];
    }
    Symbol& symbol = nodes_[static_cast<std::size_t>(node)].symbol;
    if (symbol == kBlank) symbol = static_cast<Symbol>(i + 1);
  }
  for (std::size_t i = 0; i < nodes_.size(); ++i) {
    nodes_[i].log_share = static_cast<float>(std::log(shares[i] / shares[0]));
  }
}

}  // namespace kvx::audio
