#include "console/rig_editor.h"

#include "cat/command_keys.h"
#include "console/rig_editor_commands.h"
#include "console/rig_exchange.h"
#include "console_fixture.h"

namespace kvx::console {
namespace {

using Names = std::vector<std::string>;

struct EditorBench : Bench {
  explicit EditorBench(const std::string& rig, const std::string& more = "") : Bench(RigIni(rig, 38400, more)) {
    StartQuiet();
  }
  /// Lets the line become free, and forgets what was written.
  void Quiet() {
    loop.RunFor(3s);
    port.written.clear();
  }
  std::string Stored(const std::string& rig, const std::string& field) const {
    const auto row = config::RigDatabase(folder / "rigsetup.sqlite").Find(rig);
    return !row ? row.error().message : *row ? (**row)[field] : "none";
  }

  RigEditor editor{station, files};
};

TEST(RigEditorPreview, EveryFieldOfEveryShippedRigShowsWhatSendDataWrites) {
  for (const std::string rig :
       {"TS-2000", "TS-850S", "FT-857", "FT-1000D", "FT-DX5000", "IC-7300", "Orion", "Pegasus"}) {
    EditorBench bench(rig);
    ASSERT_TRUE(bench.editor.Open(rig).ok()) << rig;
    bench.station.console.FreqDisp.Set(*ParseKhz("7030.55"));
    bench.station.console.Offset.Set(*ParseKhz("0.4"));
    for (std::size_t i = 0; i < 11; ++i) bench.station.console.Slider.Set(i, static_cast<int>(i) + 1);
    for (std::size_t i = 0; i < 9; i += 2) bench.station.console.Text5.Set(i, "12");
    int sent = 0;
    for (const config::RigField& field : config::RigFields()) {
      if (field.key.empty()) continue;
      ASSERT_NE(cat::FindKey(field.key), nullptr) << field.name;
      EXPECT_EQ(cat::FindKey(field.key)->field, field.name);
      for (int press = 0; press < 2; ++press) {  // a two-state button has two commands
        bench.Quiet();
        const CommandPreview preview = bench.editor.Preview(field.name);
        const cat::SendOutcome outcome = bench.station.engine.dispatcher.SendData(field.key);
        EXPECT_EQ(preview.bytes, bench.port.written) << rig << " " << field.name;
        EXPECT_EQ(preview.fault.empty(), outcome == cat::SendOutcome::kSent && !bench.port.written.empty())
            << rig << " " << field.name << ": " << preview.fault;
        sent += !bench.port.written.empty();
      }
    }
    EXPECT_GT(sent, 30) << rig;
  }
}

TEST(RigEditorPreview, ShowsTheBytesAndWhatIsWrong) {
  struct Row {
    std::string rig, field, text, shown, fault;
  };
  EditorBench bench("TS-2000");
  bench.station.console.FreqDisp.Set(*ParseKhz("14025.37"));
  bench.station.console.Slider.Set(6, 7);
  for (const Row& row : {
           Row{"TS-2000", "SetFreq", "FA<FREQ11>;", "FA00014025370;", ""},
           Row{"TS-2000", "AFGain", "AG0<AFGAIN3>;{255-0}", "AG0007;", ""},
           Row{"TS-2000", "GetFreq", "FA;[3-11]{1/2}FA", "FA;", ""},
           Row{"TS-2000", "Band", "BU<AFGAIN>;{9-0}", "BU07;", ""},
           Row{"TS-2000", "USB", "MD2;<CR><0x07>\xC3\xA4", "MD2;<CR><0x07><0xE4>", ""},
           Row{"TS-2000", "Function9", "TN<F?VAL>;", "", "Value not set"},
           Row{"TS-2000", "USB", "", "", "empty"},
           Row{"TS-2000", "ADesc", "XMT", "", "not a command"},
           Row{"TS-2000", "Add2", "AN2;", "AN2;", ""},
           Row{"TS-2000", "Add2", "94", "", "not a command"},
           Row{"TS-2000", "MEMO5", "MV;/FB<FREQ8>;", "VFO to memory: MV;   VFO B: FB14025370;", ""},
           Row{"IC-7300", "SetFreq", "FEFE<ADDR>E005<FREQ10>FD", "FE FE 94 E0 05 70 53 02 14 00 FD", ""},
           Row{"IC-7300", "USB", "FEFE<ADDR>E0zzFD", "FE FE 94 E0 FD", "Error converting zz to hex"},
           Row{"FT-857", "SetFreq", "<FREQ8>01", "01 40 25 37 01", ""},
           Row{"Orion", "SetFreq", "*AF<FREQ8><CR>", "*AF14025370<CR>", ""},
       }) {
    ASSERT_TRUE(bench.editor.Open(row.rig).ok());
    ASSERT_TRUE(bench.editor.Set(row.field, row.text).ok());
    const CommandPreview preview = bench.editor.Preview(row.field);
    EXPECT_EQ(preview.text, row.shown) << row.rig << " " << row.field;
    EXPECT_EQ(preview.fault.substr(0, row.fault.size()), row.fault) << preview.fault;
    EXPECT_EQ(preview.fault.empty(), row.fault.empty()) << preview.fault;
  }
  EXPECT_EQ(bench.port.written + *bench.station.console.ErrorText, "") << "a preview touches nothing";
}

TEST(RigEditor, EveryFieldGoesToTheStoreAndBack) {
  EditorBench bench("TS-2000");
  ASSERT_TRUE(bench.editor.New("My \"own\" rig").ok());
  for (const config::RigField& field : config::RigFields()) {
    if (field.name == "RigName") continue;
    const bool flag = field.use == config::RigFieldUse::kFlag;
    ASSERT_TRUE(bench.editor.Set(field.name, flag ? "yes" : std::string(field.name) + "<CR><0x00>\xC3\xA4").ok());
  }
  EXPECT_EQ(bench.Stored("My \"own\" rig", "USB"), "none") << "not before it is saved";
  ASSERT_TRUE(bench.editor.Save().ok());
  EXPECT_FALSE(bench.editor.modified());
  RigEditor other(bench.station, bench.files);
  ASSERT_TRUE(other.Open("my \"OWN\" rig").ok());
  EXPECT_EQ(other.row(), bench.editor.row());
  EXPECT_EQ(other.Text("SET CHAR"), "SET CHAR<CR><0x00>\xC3\xA4");
  EXPECT_EQ(other.row()["USB"], "USB\r\0\xC3\xA4"s);
  EXPECT_EQ(other.Text("revdata"), "Yes");
  EXPECT_FALSE(other.Set("RevData", "perhaps").ok());
  EXPECT_FALSE(other.Set("NoSuchField", "x").ok());
}

TEST(RigEditor, ASavedChangeOfTheRigInUseIsInUseAtOnce) {
  EditorBench bench("TS-2000");
  ASSERT_TRUE(bench.editor.Open("ts-2000").ok());
  ASSERT_TRUE(bench.editor.Set("USB", "MD2;MD2;").ok());
  EXPECT_TRUE(bench.editor.modified());
  bench.station.engine.dispatcher.SendData("XUSB");
  EXPECT_EQ(bench.port.written, "MD2;");
  ASSERT_TRUE(bench.editor.Save().ok());
  bench.Quiet();
  bench.station.engine.dispatcher.SendData("XUSB");
  EXPECT_EQ(bench.port.written, "MD2;MD2;");
  EXPECT_EQ(bench.port.opens, 1);
}

TEST(RigEditor, TheTransmitterIsReleasedBeforeItsRowIsReplaced) {
  EditorBench bench("TS-2000");
  bench.station.engine.dispatcher.SendData("XSETALPHA");
  ASSERT_TRUE(*bench.station.console.Transmitting);
  ASSERT_TRUE(bench.editor.Open("TS-2000").ok());
  ASSERT_TRUE(bench.editor.Set("Bravo", "").ok());
  ASSERT_TRUE(bench.editor.Save().ok());
  EXPECT_FALSE(*bench.station.console.Transmitting);
  EXPECT_EQ(bench.port.written.substr(0, 6), "TX;RX;");
}

TEST(RigEditor, ARenamedRigIsFollowedByItsUseAndItsSavedSlots) {
  EditorBench bench("TS-2000", "RIG 3=TS-2000\n");
  ASSERT_TRUE(bench.editor.Open("TS-2000").ok());
  ASSERT_TRUE(bench.editor.Set("USB", "edited").ok());
  ASSERT_TRUE(bench.editor.Rename("TS-2000", "Shack").ok());
  EXPECT_TRUE(bench.editor.modified()) << "the edits are neither saved nor lost";
  EXPECT_EQ(bench.editor.name() + bench.editor.Text("USB"), "Shackedited");
  EXPECT_EQ(*bench.station.console.RigName, "Shack");
  EXPECT_EQ(bench.Stored("Shack", "USB") + bench.Stored("TS-2000", "USB"), "MD2;none");
  bench.loop.RunFor(10s);
  EXPECT_NE(bench.folder.Get("rig.ini").find("XRIG=Shack\n"), std::string::npos) << bench.folder.Get("rig.ini");
  EXPECT_TRUE(bench.station.xRig_Click(3).ok()) << "the saved rig knows it by its new name";
  EXPECT_EQ(*bench.station.console.RigName, "Shack");
  EXPECT_EQ(bench.editor.Rename("Shack", "ft-857").error().message, "there is a rig ft-857 already");
  ASSERT_TRUE(bench.editor.Set("RigName", "Shack 2").ok());
  ASSERT_TRUE(bench.editor.Save().ok()) << "so does another name in the field";
  EXPECT_EQ(*bench.station.console.RigName, "Shack 2");
  EXPECT_EQ(bench.Stored("Shack", "USB") + bench.Stored("Shack 2", "USB"), "noneedited");
}

TEST(RigEditor, TheRigInUseIsNotDeleted) {
  EditorBench bench("TS-2000");
  EXPECT_EQ(bench.editor.Delete("ts-2000").error().message, "ts-2000 is in use: choose another rig first");
  EXPECT_EQ(bench.Stored("TS-2000", "USB"), "MD2;");
  ASSERT_TRUE(bench.station.ChooseRig("FT-857").ok());
  ASSERT_TRUE(bench.editor.Open("TS-2000").ok());
  ASSERT_TRUE(bench.editor.Delete("TS-2000").ok());
  EXPECT_FALSE(bench.editor.is_open() || bench.editor.modified());
  EXPECT_EQ(bench.Stored("TS-2000", "USB"), "none");
}

TEST(RigEditor, NamesThatCouldNotBeFoundAgainAreRefused) {
  EditorBench bench("TS-2000");
  for (const std::string name : {"", " ", "none", "Bob's", "a\tb", " TS", "TS ", "XRIG=2", "ft-857"}) {
    EXPECT_FALSE(bench.editor.New(name).ok()) << name;
    ASSERT_TRUE(bench.editor.Open("TS-850S").ok());
    EXPECT_FALSE(bench.editor.CopyAs(name).ok()) << name;
    ASSERT_TRUE(bench.editor.Set("RigName", name).ok());
    EXPECT_FALSE(bench.editor.Save().ok()) << name;
    EXPECT_TRUE(bench.editor.modified());
    EXPECT_EQ(bench.Stored("TS-850S", "USB"), "MD2;");
  }
  EXPECT_FALSE(bench.editor.New(std::string(61, 'x')).ok());
}

TEST(RigEditor, WhatCannotBeSavedIsNotLost) {
  EditorBench bench("TS-2000");
  ASSERT_TRUE(bench.editor.Open("TS-850S").ok());
  ASSERT_TRUE(bench.editor.CopyAs("Copy").ok());
  ASSERT_TRUE(bench.editor.Set("USB", "mine").ok());
  const platform::Path store = bench.folder / "rigsetup.sqlite";
  const platform::Path aside = bench.folder / "aside";
  std::filesystem::rename(store, aside);
  const Status failed = bench.editor.Save();
  EXPECT_EQ(failed.error().code, ErrorCode::kNotFound);
  EXPECT_NE(failed.error().message.find("rigsetup.sqlite"), std::string::npos) << failed.error().message;
  std::filesystem::rename(aside, store);
  EXPECT_TRUE(bench.editor.modified());
  ASSERT_TRUE(bench.editor.Save().ok());
  EXPECT_EQ(bench.Stored("Copy", "USB"), "mine");
  ASSERT_TRUE(bench.editor.Set("USB", "again").ok());
  RigEditor other(bench.station, bench.files);
  ASSERT_TRUE(other.Open("Copy").ok() && other.Set("LSB", "theirs").ok() && other.Save().ok());
  ASSERT_TRUE(bench.editor.Save().ok());
  EXPECT_EQ(bench.Stored("Copy", "USB") + bench.editor.Text("LSB"), "againtheirs") << "both changes are there";
  ASSERT_TRUE(bench.editor.Set("USB", "third").ok());
  ASSERT_TRUE(other.Delete("Copy").ok());
  ASSERT_TRUE(bench.editor.Save().ok()) << "a row that went meanwhile is written anew";
  EXPECT_EQ(bench.Stored("Copy", "USB") + bench.Stored("Copy", "LSB"), "thirdtheirs");
}

/// Import and export, waited for.
struct ExchangeBench : EditorBench {
  using EditorBench::EditorBench;
  std::string Read(const std::string& file) {
    std::string said = "nothing";
    exchange.ReadCsv(folder / file, [&](const auto& done) {
      if (done) read = *done;
      said = done ? "ok" : done.error().message;
    });
    loop.RunFor(1s);
    return ReplaceAll(said, (folder / file).string(), "");
  }
  std::string Import() {
    std::string said = "nothing";
    exchange.Import(read, [&](const Status& done) { said = done ? "ok" : done.error().message; });
    loop.RunFor(1s);
    return said == "ok" && !editor.Replaced(read->rows) ? "not followed" : said;
  }
  int Export(const std::string& file, const Names& names) {
    int count = -2;
    exchange.Export(folder / file, names, [&](const Result<int>& done) { count = done ? *done : -1; });
    loop.RunFor(1s);
    return count;
  }

  RigExchange exchange{station, files};
  RigExchange::Read read;
};

TEST(RigEditor, AnImportIsWholeOrNotAtAll) {
  ExchangeBench bench("TS-2000");
  const auto read = [&](const std::string& csv) {
    bench.folder.Put("in.csv", csv);
    return bench.Read("in.csv");
  };
  EXPECT_EQ(read("RigName,New\nUSB,x\nRigName,TS-2000\nUSSB,x\n"), " line 4: there is no field \"USSB\"");
  EXPECT_EQ(read("RigName,New\nRigName,Bob's\n"),
            ": rig Bob's: the name of a rig has no control character, no ' and no = in it");
  EXPECT_NE(read("# nothing\n"), "ok");
  EXPECT_EQ(bench.Stored("New", "USB"), "none");
  ASSERT_EQ(read("RigName,New\nUSB,x\nRigName,ts-2000\nRigType,KENWOOD\nUSB,\"MD,2;<CR>\"\n"), "ok");
  EXPECT_EQ(bench.read->existing, Names{"TS-2000"});
  ASSERT_TRUE(bench.editor.Open("TS-2000").ok());
  EXPECT_EQ(bench.Import(), "ok");
  EXPECT_EQ(bench.Stored("New", "USB") + bench.Stored("TS-2000", "LSB"), "x") << "a row is replaced whole";
  EXPECT_EQ(bench.editor.Text("USB"), "MD,2;<CR>");
  bench.Quiet();
  bench.station.engine.dispatcher.SendData("XUSB");
  EXPECT_EQ(bench.port.written, "MD,2;\r") << "the rig in use follows";
}

TEST(RigEditor, ManyRigsGoInAndOutInPiecesAndNotWhileTransmitting) {
  ExchangeBench bench("TS-2000");
  std::string csv;
  for (int i = 0; i < 2000; ++i) csv += "RigName,Many " + std::to_string(i) + "\nUSB,x\n";
  bench.folder.Put("in.csv", csv);
  ASSERT_EQ(bench.Read("in.csv"), "ok");
  std::string said;
  bench.exchange.Import(bench.read, [&](const Status& done) { said = done ? "ok" : done.error().message; });
  EXPECT_EQ(said, "") << "it goes on when other things have had their turn";
  bench.station.console.Transmitting.Set(true);  // as by a program meanwhile
  bench.loop.RunFor(1s);
  EXPECT_EQ(said, "Not imported: the rig is transmitting");
  EXPECT_EQ(bench.Stored("Many 0", "USB"), "none");
  EXPECT_EQ(bench.Export("out.csv", {}), -1);
  EXPECT_EQ(bench.Read("in.csv"), "Not imported: the rig is transmitting");
  bench.station.console.Transmitting.Set(false);
  EXPECT_EQ(bench.Import(), "ok");
  EXPECT_EQ(bench.Stored("many 1999", "USB"), "x");
  EXPECT_EQ(bench.Export("out.csv", {}), static_cast<int>(bench.editor.Names().value().size()));
  ASSERT_EQ(bench.Read("out.csv"), "ok");
  EXPECT_EQ(bench.read->existing.size(), bench.read->rows.size());
}

TEST(RigEditor, AnExportIsReadBackAsItWas) {
  ExchangeBench bench("TS-2000");
  const Names names = bench.editor.Names().value();
  EXPECT_EQ(bench.Export("all.csv", {}), static_cast<int>(names.size()));
  ASSERT_EQ(bench.Read("all.csv"), "ok");
  ASSERT_EQ(bench.read->rows.size(), names.size());
  for (const config::RigRow& row : bench.read->rows) {
    ASSERT_TRUE(bench.editor.Open(row.name()).ok());
    EXPECT_EQ(bench.editor.row(), row);
  }
  EXPECT_EQ(bench.Export("one.csv", {"FT-857"}), 1);
  EXPECT_EQ(bench.Export("two.csv", {"FT-858"}), -1);
  EXPECT_EQ(bench.Export("no such folder/x.csv", {}), -1);
}

TEST(RigEditorSend, WritesThePreviewAndKeysNothingThatCouldNotBeReleased) {
  EditorBench bench("TS-2000");
  const auto send = [&](const std::string& field, const std::string& text) {
    bench.Quiet();
    EXPECT_TRUE(bench.editor.Set(field, text).ok());
    const Status sent = bench.editor.Send(field);
    return sent ? bench.port.written : "error: " + sent.error().message;
  };
  ASSERT_TRUE(bench.editor.Open("TS-2000").ok());
  EXPECT_TRUE(bench.editor.KeysTransmitter("Alpha") && bench.editor.KeysTransmitter("Function8"));
  EXPECT_FALSE(bench.editor.KeysTransmitter("Bravo") || bench.editor.KeysTransmitter("Function7"));
  EXPECT_EQ(send("Alpha", "TX;"), "TX;") << "nothing has been edited: as its button sends it";
  EXPECT_TRUE(*bench.station.console.Transmitting);
  EXPECT_EQ(send("Bravo", "RX;"), "RX;");
  EXPECT_FALSE(*bench.station.console.Transmitting);
  EXPECT_EQ(send("USB", "MD2;<CR>"), "MD2;\r") << "before it is saved";
  EXPECT_TRUE(bench.editor.KeysTransmitter("Alpha"));
  EXPECT_EQ(send("Alpha", "TX1;").substr(0, 6), "error:");
  EXPECT_EQ(send("LSB", "TX1;").substr(0, 6), "error:") << "the same command from another field";
  EXPECT_EQ(send("ADesc", "Voice").substr(0, 6), "error:") << "a caption is no command";
  EXPECT_EQ(send("Alpha", "TX1;").substr(0, 6), "error:") << "it keys a Kenwood whatever its caption says";
  EXPECT_EQ(send("Alpha", "VX1;"), "VX1;") << "by its caption it keys nothing";
  EXPECT_EQ(send("Meter4", "ID"), "ID") << "a text that is a key's name is sent as it stands";
  ASSERT_TRUE(bench.editor.Open("IC-7300").ok());
  EXPECT_EQ(send("USB", "FEFE<ADDR>E00601FD"), "\xFE\xFE\x94\xE0\x06\x01\xFD")
      << "the row's own bytes, not the loaded rig's";
  EXPECT_FALSE(*bench.station.console.Transmitting);
  bench.port.Lose();
  bench.port.absent = true;
  EXPECT_EQ(send("USB", "00").substr(0, 30), "error: the rig port is closed ");
}

TEST(RigEditorCommands, EachHasOneAnswerAndChangesTheStore) {
  EditorBench bench("TS-2000");
  std::string answer;
  CommandLine line(bench.loop, bench.station, [&](const std::string& text) {
    if (text.starts_with("ok") || text.starts_with("error")) answer = text;
  });
  AddRigEditorCommands(line, bench.station, bench.files);
  line.Ready();
  bench.folder.Put("in put.csv", "RigName,A 1\nUSB,x\n");
  struct Row {
    std::string command, answer;
  };
  for (const Row& row : {
           Row{"rigdef show TS-2000 USB", "ok MD2;"},
           Row{"rigdef show TS-9999", "error: there is no rig TS-9999"},
           Row{"rigdef show TS-2000 NoField", "error: there is no field"},
           Row{"rigdef show ts-2000", "ok {\"RigName\":\"TS-2000\",\"RigType\":\"KENWOOD\",\"SendAsHEX\":\"No\""},
           Row{"rigdef new \"My rig\"", "ok My rig"},
           Row{"rigdef new \"My rig\"", "error: there is a rig My rig already"},
           Row{"rigdef set \"My rig\" \"SET ALPHA\" MG <ALPHA3>;<CR>", "ok My rig SET ALPHA MG <ALPHA3>;<CR>"},
           Row{"rigdef show \"my RIG\" \"set alpha\"", "ok MG <ALPHA3>;<CR>"},
           Row{"rigdef set \"My rig\" SendAsHEX maybe", "error: \"maybe\" is neither Yes nor No"},
           Row{"rigdef copy Orion \"Say \"\"hi\"\"\"", "ok Say \"hi\""},
           Row{"rigdef show \"Say \"\"hi\"\"\" USB", "ok *RMM0<CR>"},
           Row{"rigdef rename \"My rig\" Mine", "ok Mine"},
           Row{"rigdef delete Mine", "ok deleted Mine"},
           Row{"rigdef delete Mine", "error: there is no rig Mine"},
           Row{"rigdef import \"in put.csv\"", "ok 1 rig"},
           Row{"rigdef import \"in put.csv\"", "error: there already: A 1; "},
           Row{"rigdef import \"in put.csv\" replace", "ok 1 rig, replaced A 1"},
           Row{"rigdef import nothing.csv", "error: "},
           Row{"rigdef export out.csv \"A 1\"", "ok 1 rig to "},
           Row{"rigdef export", "error: rigdef export takes a file"},
           Row{"rigdef", "error: rigdef takes"},
           Row{"preview xsetfreq", "ok FA00014000000;"},
           Row{"preview AG0<AFGAIN3>;{255-0}", "ok AG0000;"},
           Row{"preview XFMN", "error: the rig has no such command"},
           Row{"preview", "error: preview takes"},
       }) {
    line.Take(row.command);
    bench.loop.RunFor(50ms);
    EXPECT_EQ(answer.substr(0, row.answer.size()), row.answer) << row.command << ": " << answer;
  }
  EXPECT_EQ(bench.folder.Get("out.csv").substr(0, 11), "RigName,A 1");
  EXPECT_EQ(bench.port.written, "");
}

}  // namespace
}  // namespace kvx::console
