#include "console/position_file.h"

#include "console_fixture.h"

namespace kvx::console {
namespace {

ConsolePosition Unusual() {
  ConsolePosition position;
  position.top = 12;
  position.left = -7;
  position.memory_first[1] = "a=b";
  position.memory_first[100] = "14025.00";
  position.memory_second[7] = "calling";
  position.front = 3;
  position.states = {1, 2, 3, 4, 5, 6, 7, 8, 9, -10};
  position.logger_program = "Logger 32.exe";
  position.sliders = {25, 1, 2, 3, 4, 5, 6, 7, 8, 9, 2400};
  position.element_colors = {255, 16777215, 0, 1, 2};
  position.h_scroll2 = 500;
  position.am_scb = true;
  position.display_colors = {1, 2};
  position.texts = {"d", "text with = in it"};
  return position;
}

TEST(PositionFile, WritesOneValueALineInItsOrderAndReadsItBack) {
  const std::string text = FormatPosition(Unusual());
  const std::vector<std::string> lines = Split(text, '\n');
  ASSERT_EQ(lines.size(), 239U);
  for (const auto& [line, value] : std::vector<std::pair<std::size_t, std::string>>{{0, " 12"},
                                                                                    {1, "-7"},
                                                                                    {2, "=a=b"},
                                                                                    {3, "0000"},
                                                                                    {101, "14025.00"},
                                                                                    {108, "calling"},
                                                                                    {202, " 3"},
                                                                                    {213, "Logger 32.exe"},
                                                                                    {215, " 25"},
                                                                                    {231, " 500"},
                                                                                    {232, "True"},
                                                                                    {233, "False"},
                                                                                    {234, " 1"},
                                                                                    {236, "d"},
                                                                                    {237, "text with = in it"},
                                                                                    {238, ""}}) {
    EXPECT_EQ(lines[line], value) << line;
  }
  for (const std::string& content : {text, ReplaceAll(text, "\n", "\r\n")}) {
    ConsolePosition read;
    EXPECT_TRUE(ParsePosition(content, read).ok());
    EXPECT_TRUE(read == Unusual());
  }
}

TEST(PositionFile, AShortFileLeavesTheRestAndAnotherProgramsLinesAreUnderstood) {
  ConsolePosition read;
  EXPECT_TRUE(ParsePosition(" 5\n9e99\nMemory1=7030\nplain\n=x=y", read).ok());
  EXPECT_EQ(read.top, 5);
  EXPECT_EQ(read.left, 9);
  EXPECT_EQ(read.memory_first[1] + read.memory_first[2] + read.memory_first[3] + read.memory_first[4],
            "7030plainx=y0000");
  EXPECT_EQ(read.logger_program, "N1MMLogger.net.exe");
  const std::string whole = FormatPosition(Unusual());
  std::size_t lines = 0;
  for (std::size_t end = whole.find('\n'); end != std::string::npos; end = whole.find('\n', end + 1)) {
    ConsolePosition partly;
    ASSERT_TRUE(ParsePosition(whole.substr(0, end), partly).ok());
    ++lines;
    EXPECT_EQ(partly.front, lines > 202 ? 3 : 0);
    EXPECT_EQ(partly.display_colors[1], lines > 235 ? 2 : 4210752) << lines;
  }
}

TEST(PositionFile, BrokenNumbersAreBoundedAndBinaryContentIsRefusedWhole) {
  ConsolePosition read;
  EXPECT_TRUE(ParsePosition("99999999999999999999\n-99999999999999999999\n", read).ok());
  EXPECT_EQ(read.top, 1'000'000'000);
  EXPECT_EQ(read.left, -1'000'000'000);
  ConsolePosition untouched;
  EXPECT_EQ(ParsePosition("5\n6\n\x00\x01"s, untouched).error().code, ErrorCode::kDamaged);
  EXPECT_TRUE(untouched == ConsolePosition());
  ConsolePosition broken;
  broken.texts[0] = "two\r\nlines\0"s;
  EXPECT_EQ(Split(FormatPosition(broken), '\n').size(), 239U);
  broken.memory_second[3] = "\x1B[2J\x07";
  ASSERT_TRUE(ParsePosition(FormatPosition(broken), read).ok()) << "what it wrote itself";
  EXPECT_EQ(read.memory_second[3] + read.texts[0], "\x1B[2J\x07two  lines ");
}

}  // namespace
}  // namespace kvx::console
