#include "cat/command_template.h"

#include "cat_fixture.h"

namespace kvx::cat {
namespace {

TEST(QueryTemplate, IsSplitIntoCommandAndExtraction) {
  struct Row {
    std::string text, command;
    std::optional<Extraction> extraction;
  };
  for (const Row& row :
       {Row{"FA;", "FA;", {}}, Row{"007C0000BB[1-2]{3/2}32", "007C0000BB", Extraction{1, 2, 3, 2, "32", 0}},
        Row{"AG0;[4-3]{1/3}ag0", "AG0;", Extraction{4, 3, 1, 3, "AG0", 0}},
        Row{"0000000003[1-8]10", "0000000003", Extraction{1, 8, 0, 0, "", 10}},
        Row{"00000000E7[1-2]", "00000000E7", Extraction{1, 2, 0, 0, "", 0}}, Row{"X[", "X", Extraction{}},
        Row{"X[3", "X", Extraction{3, 0, 0, 0, "", 0}}, Row{"X[1-2]{3/2", "X", Extraction{1, 2, 3, 2, "", 0}},
        Row{"X[-1--5]{a/b}Q", "X", Extraction{0, 1, 0, 0, "Q", 0}},
        Row{"X[999999999999-2]", "X", Extraction{4096, 2, 0, 0, "", 0}}}) {
    const QueryTemplate query = SplitQuery(row.text);
    EXPECT_EQ(query.command, row.command) << row.text;
    EXPECT_TRUE(query.extraction == row.extraction) << row.text;
  }
  EXPECT_EQ(CutBounds("SH<NOTCH>{20-0}"), "SH<NOTCH>");
  EXPECT_EQ(CutBounds("SH<NOTCH>"), "SH<NOTCH>");
}

TEST(Extraction, TakesTheDataOnlyFromAReplyWithTheRightCodeAndLength) {
  struct Row {
    std::string suffix, reply;
    std::optional<std::string> data;
    bool any_width = false;
  };
  for (const Row& row :
       {Row{"[1-2]{3/2}32", "4132", "41"}, Row{"[1-2]{3/2}32", "4133", {}}, Row{"[1-2]{3/2}32", "413", {}},
        Row{"[1-2]{3/2}32", "", {}}, Row{"[4-3]{1/3}@UM", "@um127", "127"}, Row{"[4-3]{1/3}@UM", "@UM12", {}},
        Row{"[4-3]{1/3}@UM", "@UM12", "12", true}, Row{"[4-3]{1/3}@UM", "@U", {}, true}, Row{"[0-2]", "1234", {}},
        Row{"[1-0]", "1234", {}}, Row{"[4000-9]", "1234", {}, true}, Row{"[1-1]{9/0}", "12345678", "1"}}) {
    const auto data = SplitQuery(row.suffix).extraction->DataOf(row.reply, row.any_width);
    EXPECT_EQ(data.has_value(), row.data.has_value()) << row.suffix << " " << row.reply;
    if (data && row.data) {
      EXPECT_EQ(*data, *row.data) << row.suffix;
    }
  }
}

TEST(FrequencyDigits, FillEachPlaceholderOrRefuse) {
  using enum FrequencyData;
  struct Row {
    std::string placeholder;
    FrequencyData data;
    std::string khz, digits;  // digits empty: refused
  };
  for (const Row& row : {Row{"<FREQ11>", kText, "14025.37", "00014025370"},
                         Row{"<FREQ11>", kText, "1296200.00", "01296200000"},
                         Row{"<FREQ10>", kBinary, "432100", "0432100000"},
                         Row{"<FREQ10>", kBinary, "10368000", ""},
                         Row{"<FREQ9>", kText, "135.6", "000135600"},
                         Row{"<FREQ9>", kText, "999999.99", "999999990"},
                         Row{"<FREQ9>", kText, "1000000", ""},
                         Row{"<FREQ8>", kText, "1800", "01800000"},
                         Row{"<FREQ8>", kText, "99999.99", "99999990"},
                         Row{"<FREQ8>", kText, "100000", ""},
                         Row{"<FREQ8>", kBinary, "14025.37", "01402537"},
                         Row{"<FREQ8>", kBinary, "439700", "43970000"},
                         Row{"<FREQ8>", kBinary, "1000000", ""},
                         Row{"<FREQ7>", kText, "14025.37", "1402537"},
                         Row{"<FREQ7>", kBinary, "14025.37", "01402537"},
                         Row{"<FREQ7>", kText, "100000", ""},
                         Row{"<FREQ11>", kText, "-1.5", ""},
                         Row{"<FREQ11>", kText, "0", "00000000000"},
                         Row{"<FREQ8>", kCiv, "14025.37", "14025370"},
                         Row{"<FREQ8>", kCiv, "100000", ""},
                         Row{"<FREQ10-12>", kCiv, "5760100", "5760100000"},
                         Row{"<FREQ10-12>", kCiv, "9999999.99", "9999999990"},
                         Row{"<FREQ10-12>", kCiv, "10368100", "010368100000"},
                         Row{"<FREQHEX8>", kBinary, "14025.37", "00D6029A"},
                         Row{"<FREQHEX8>", kBinary, "4294967.29", "FFFFFFFA"},
                         Row{"<FREQHEX8>", kBinary, "4294967.3", ""},
                         Row{"<FREQHEX8>", kBinary, "-1.5", ""}}) {
    const auto digits = FrequencyDigits(*ParseKhz(row.khz), *FindFrequencyPlaceholder(row.placeholder), row.data);
    EXPECT_EQ(digits ? *digits : "", row.digits) << row.placeholder << " " << row.khz;
  }
  EXPECT_EQ(ReversePairs("0014025370"), "7053021400");
  EXPECT_EQ(ReversePairs("123"), "231");
}

TEST(Expand, PutsSlidersAddressAndFrequencyIn) {
  struct Row {
    std::string rig, encoding, command, expect;  // expect "!...": refused, with that in the sentence
  };
  for (const Row& row : {Row{"X", "", "AG<AFGAIN>;", "AG07;"},
                         Row{"X", "", "PC<POWER>;", "PC100;"},
                         Row{"X", "", "AG<AFGAIN3>;<RFGAIN1>", "AG007;8"},
                         Row{"X", "", "PC<POWER2>;", "!does not fit"},
                         Row{"FT-DX5000", "", "AG<AFGAIN>;", "AG007;"},
                         Row{"FT-DX5000", "", "PC<POWER>;", "PC100;"},
                         Row{"X", "", "<AFGAIN><AFGAIN>", "0707"},
                         Row{"X", "", "<AFGAINX><AFGAIN0><AFGAIN", "<AFGAINX><AFGAIN0><AFGAIN"},
                         Row{"X", "", "<TONE><ALPHA><BRAVO><CHAR><MISC><FILTER><NOTCH><CWSPEED>", "0203040506101101"},
                         Row{"X", "", "MG<NOTCH>", "MG11"},
                         Row{"X", "hex", "5600<POWER>0D", "560001000D"},
                         Row{"X", "hex", "5600<POWER4>0D", "560001000D"},
                         Row{"X", "", " FE<ADDR>E0 ", "FE94E0"},
                         Row{"X", "", "<ADDR><ADDR>", "9494"},
                         Row{"X", "hex", "<FREQ8>01", "0140253701"},
                         Row{"X", "hex,rev", "<FREQ8>0A", "705302140A"},
                         Row{"X", "hex,rev", "<FREQHEX8>0D", "00D6029A0D"},
                         Row{"X", "hex,rev", "FEFE <ADDR> E005 <FREQ10> FD", "FEFE94E0057053021400FD"},
                         Row{"X", "", "FA <FREQ11>;", "FA00014025370;"},
                         Row{"X", "", "MD<VFO>2;AG<VFO><AFGAIN3>;", "MD12;AG1007;"},
                         Row{"X", "", std::string(4097, '<'), "!more than 4096 characters"},
                         Row{"X", "", "<UNKNOWN>", "<UNKNOWN>"}}) {
    std::vector<std::string> fields = Split(row.encoding, ',');
    fields.push_back("Add2= 94 ");
    const config::RigDefinition rig = config::LoadDefinition(MakeRow(row.rig, "ICOM", fields));
    Fill fill{.rig = rig,
              .sliders = {1, 2, 3, 4, 5, 6, 7, 8, 100, 10, 11},
              .address_number = "2",
              .frequency = *ParseKhz("14025.37"),
              .vfo = 'B'};
    const auto filled = Expand(row.command, fill);
    if (row.expect.starts_with("!")) {
      ASSERT_FALSE(filled.ok()) << row.command;
      EXPECT_NE(filled.error().message.find(row.expect.substr(1)), std::string::npos) << filled.error().message;
    } else {
      EXPECT_EQ(filled ? *filled : filled.error().message, row.expect) << row.command;
    }
    fill.address_number = "3";
    EXPECT_EQ(Expand("<ADDR>", fill).ok(), false) << "an empty address must not be sent";
  }
}

}  // namespace
}  // namespace kvx::cat
