#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "core/text.h"

namespace kvx::config {

/// The text fields of table `RigSetup`, in the order of the table. Names are matched without regard to case.
inline constexpr std::array<std::string_view, 118> kRigTextFields{"RigName",
                                                                  "RigType",
                                                                  "Add1",
                                                                  "Add2",
                                                                  "Add3",
                                                                  "Add4",
                                                                  "Add5",
                                                                  "Add6",
                                                                  "Add7",
                                                                  "SetFreq",
                                                                  "GetFreq",
                                                                  "ReadFreq",
                                                                  "ReadMode",
                                                                  "GetSMeter",
                                                                  "VFOA",
                                                                  "VFOB",
                                                                  "LSB",
                                                                  "USB",
                                                                  "CWw",
                                                                  "CWn",
                                                                  "AM",
                                                                  "FMw",
                                                                  "FMn",
                                                                  "RTTY",
                                                                  "Band",
                                                                  "RITON",
                                                                  "RITUP",
                                                                  "RITDOWN",
                                                                  "XITON",
                                                                  "XITUP",
                                                                  "XITDOWN",
                                                                  "RITOFF",
                                                                  "XITOFF",
                                                                  "Memo6",
                                                                  "GENON",
                                                                  "GENOFF",
                                                                  "MEMO4",
                                                                  "USER4",
                                                                  "AFGain",
                                                                  "RFGain",
                                                                  "Power",
                                                                  "Filter",
                                                                  "Notch",
                                                                  "USR1",
                                                                  "GetAF",
                                                                  "GetRF",
                                                                  "User1",
                                                                  "User2",
                                                                  "User3",
                                                                  "Function1",
                                                                  "Function2",
                                                                  "Function3",
                                                                  "Function4",
                                                                  "Function5",
                                                                  "Function6",
                                                                  "Function7",
                                                                  "Function8",
                                                                  "Function9",
                                                                  "F1Desc",
                                                                  "F2Desc",
                                                                  "F3Desc",
                                                                  "F4Desc",
                                                                  "F5Desc",
                                                                  "F6Desc",
                                                                  "F7Desc",
                                                                  "F8Desc",
                                                                  "F9Desc",
                                                                  "Alpha",
                                                                  "Bravo",
                                                                  "ADesc",
                                                                  "BDesc",
                                                                  "Cap1",
                                                                  "Cap2",
                                                                  "Cap3",
                                                                  "Cap4",
                                                                  "Cap5",
                                                                  "Cap6",
                                                                  "Cap7",
                                                                  "Cap8",
                                                                  "Cap9",
                                                                  "FNT1",
                                                                  "FNT2",
                                                                  "FNT3",
                                                                  "FNT4",
                                                                  "FNT5",
                                                                  "FNT6",
                                                                  "FNT7",
                                                                  "FNT8",
                                                                  "FNT9",
                                                                  "USER5",
                                                                  "USER6",
                                                                  "user7",
                                                                  "user8",
                                                                  "US7",
                                                                  "Meter1",
                                                                  "Meter2",
                                                                  "Meter3",
                                                                  "Meter4",
                                                                  "Meter5",
                                                                  "Meter6",
                                                                  "AGC1",
                                                                  "AGC2",
                                                                  "AGC3",
                                                                  "AGC4",
                                                                  "AGC5",
                                                                  "SSScan",
                                                                  "MEMO3",
                                                                  "MEMO5",
                                                                  "AltSliderCaptions",
                                                                  "AltSliderDesc",
                                                                  "SET ALPHA",
                                                                  "SET BRAVO",
                                                                  "SET CHAR",
                                                                  "GET ALPHA",
                                                                  "GET BRAVO",
                                                                  "GET CHAR",
                                                                  "CWText",
                                                                  "CWStop"};

/// Its Yes/No fields.
inline constexpr std::string_view kHexField = "SendAsHEX";
inline constexpr std::string_view kReverseField = "RevData";

/// One row of table `RigSetup`: a rig model as data. A field that is not there and a Null are empty text.
class RigRow {
 public:
  /// The field's text; empty for a field that is empty or does not exist.
  const std::string& operator[](std::string_view field) const;
  /// Sets a text field. False when the table has no such field.
  bool Set(std::string_view field, std::string value);

  const std::string& name() const { return (*this)["RigName"]; }
  /// The family, upper case.
  std::string family() const { return Upper((*this)["RigType"]); }

  bool send_as_hex = false;  ///< templates are pairs of hexadecimal digits
  bool rev_data = false;     ///< frequency digits go out in reversed pair order

  bool operator==(const RigRow&) const = default;

 private:
  std::map<std::string, std::string, std::less<>> fields_;  ///< by upper-case name; only what is not empty
};

/// The table's own spelling of a text field's name, nothing when there is no such field.
std::optional<std::string_view> RigFieldName(std::string_view any_case);

/// A Yes/No field as this program, others and people write it: Yes or True, No, False or nothing, or a number (0: no).
std::optional<bool> ParseYesNo(std::string_view text);

}  // namespace kvx::config
