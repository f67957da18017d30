#include <gtest/gtest.h>

#include "bench.h"

namespace kvx::sim {
namespace {

// The CI-V models by what sets them apart; "a > b": the answer to a frame is that frame, or none.
TEST(IcomModels, SpeakTheirDialects) {
  struct Row {
    std::string_view kind;
    std::string_view address;
    std::string_view play;  // bodies, as they stand between address and FD
  };
  for (const Row& row : {
           Row{"ic735", "04",
               "05 00 50 02 14 > FB | 03 > 03 00 50 02 14 | 05 00 50 02 14 00 > FA | 06 01 > FB | 04 > 04 01 | "
               "06 03 01 > FA | 06 07 > FA | 07 01 > FB | 15 02 > FA | 1C 00 01 > FA"},
           Row{"omni6", "04",
               "05 00 50 02 14 00 > FB | 06 03 04 > FB | 04 > 04 03 04 | 06 03 01 > FA | 06 03 06 > FA | 16 01 > FB | "
               "16 02 > FB | "
               "16 22 01 > FA | 1C 00 01 > FA"},
           Row{"ic706", "48", "06 03 00 > FB | 04 > 04 03 00 | 06 03 03 > FA | 0F 01 > FB | 15 02 > FA | 1C 00 > FA"},
           Row{"ic7610", "98",
               "07 D1 > FB | 05 00 00 03 07 00 > FB | 25 01 > 25 01 00 00 03 07 00 | 25 00 > 25 00 00 50 02 14 00 | "
               "07 D0 > FB | 03 > 03 00 50 02 14 00 | 07 00 > FA | 07 C1 > FB | 07 B1 > FB | 25 01 > 25 01 00 50 02 14 "
               "00"},
           Row{"ic905", "AC",
               "05 00 01 20 44 01 > FB | 03 > 03 00 01 20 44 01 | 05 00 01 10 68 03 01 > FB | "
               "03 > 03 00 01 10 68 03 01 | 05 00 01 20 44 01 00 > FA | 05 00 00 00 30 00 > FA"},
           Row{"icr8600", "96",
               "05 00 00 50 29 01 > FB | 06 06 > FA | 06 05 > FB | 16 12 02 > FB | 14 0A > FA | 1C 00 01 > FA | "
               "0F 01 > FA | 07 00 > FA | 14 01 01 28 > FB"},
       }) {
    SCOPED_TRACE(row.kind);
    Bench bench(row.kind);
    const std::string to = "FE FE " + std::string(row.address) + " E0 ";
    const std::string from = "FE FE E0 " + std::string(row.address) + " ";
    for (const std::string& step : Split(std::string(row.play), '|')) {
      const std::size_t arrow = step.find(" > ");
      EXPECT_EQ(bench.AskHex(to + std::string(Trim(step.substr(0, arrow))) + " FD"),
                from + std::string(Trim(step.substr(arrow + 3))) + " FD")
          << step;
    }
  }
}

TEST(TentecBinaryRig, AnswersAsTheProgrammersReferencesSay) {
  struct Row {
    std::string_view kind, play;
  };
  for (const Row& row : {
           Row{"jupiter",
               "2A 41 00 E4 E1 C0 0D > | 3F 41 0D > 41 00 E4 E1 C0 0D | 2A 42 00 0D 0D 04 0D > | "
               "3F 42 0D > 42 00 0D 0D 04 0D | 2A 4D 31 32 0D > | 3F 4D 0D > 4D 31 32 0D | 3F 53 0D > 53 30 39 30 30 "
               "0D | "
               "51 31 0D > | 3F 53 0D > 53 8F 01 0D | 51 30 0D > | 2A 41 03 9F BA F4 0D > 5A 2A 0D | 58 58 0D > "
               "52 41 44 49 4F 20 53 54 41 52 54 0D"},
           Row{"argonaut5",
               "2A 41 00 E4 E1 C0 0D > 47 0D | 3F 41 0D > 41 00 E4 E1 C0 0D 47 0D | 2A 45 56 42 0D > 47 0D | "
               "3F 45 0D > 45 56 42 0D 47 0D | 2A 4F 01 0D > 47 0D | 3F 53 0D > 5A 0D | 23 31 0D > 47 0D | 23 30 0D > "
               "47 0D"},
           Row{"omni7",
               "2A 41 02 FC F0 60 0D > | 3F 41 0D > 41 02 FC F0 60 0D | 3F 53 0D > 53 30 39 30 30 0D | "
               "2A 54 04 01 0D > | 3F 53 0D > 53 8F 01 0D | 2A 54 00 01 0D > | 2A 4E 01 0D > | 3F 4E 0D > 4E 01 0D"},
       }) {
    SCOPED_TRACE(row.kind);
    Bench bench(row.kind);
    bench.rig->Operate("smeter 15");
    for (const std::string& step : Split(std::string(row.play), '|')) {
      const std::size_t arrow = step.find(" >");
      EXPECT_EQ(bench.AskHex(Trim(step.substr(0, arrow))), Trim(step.substr(arrow + 2))) << step;
    }
  }
}

}  // namespace
}  // namespace kvx::sim
