#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace kvx::audio {

/// A symbol of the decoders' text: 0 is the blank, others are the places of the Morse table, counted from 1.
using Symbol = std::uint8_t;
inline constexpr std::size_t kSymbols = 60;
inline constexpr Symbol kBlank = 0;

/// The table's character of a symbol.
char CharacterOf(Symbol symbol);

/// How probable symbols are after others, learnt from a list of words, commonest first; room is left for what is no
/// word: callsigns, numbers, groups of letters.
class LetterModel final {
 public:
  /// The last symbols, newest in the low bits.
  using Context = std::uint32_t;
  static constexpr Context kStart = 0;  ///< after a blank
  static constexpr int kSymbolBits = 6;

  /// Words one to a line.
  explicit LetterModel(std::string_view words);

  static Context After(Context context, Symbol symbol) { return (context << kSymbolBits | symbol) & kContextMask; }
  /// Natural logarithm; probabilities of all symbols after a context make 1.
  float LogProbability(Context context, Symbol symbol) const;

 private:
  static constexpr Context kContextMask = (1U << 3 * kSymbolBits) - 1;
  using Row = std::array<float, kSymbols>;

  std::vector<std::uint16_t> row_of_;  ///< by context
  std::vector<Row> rows_;
};

/// The codes of all signs as a tree: a dot or a dash leads from one node to the next.
class CodeTree final {
 public:
  using Node = std::int16_t;
  static constexpr Node kNone = -1;
  static constexpr Node kRoot = 0;

  CodeTree();
  Node After(Node node, bool dash) const { return nodes_[static_cast<std::size_t>(node)].next[dash ? 1 : 0]; }
  /// The symbol whose code ends here; kBlank: none's does.
  Symbol symbol(Node node) const { return nodes_[static_cast<std::size_t>(node)].symbol; }
  /// Logarithm of the chance that a character begins with this node's code.
  float log_share(Node node) const { return nodes_[static_cast<std::size_t>(node)].log_share; }

 private:
  struct Branch {
    std::array<Node, 2> next{kNone, kNone};
    Symbol symbol = kBlank;
    float log_share = 0;
  };
  std::vector<Branch> nodes_;
};

}  // namespace kvx::audio
