#include "cat/command_keys.h"

#include <algorithm>
#include <array>

#include "core/text.h"

namespace kvx::cat {
namespace {

using enum KeyKind;

constexpr std::array kKeys{
    CommandKey{"XGETFREQ", "GetFreq", kQuery},
    CommandKey{"XGETFREQB", "ReadFreq", kQuery},
    CommandKey{"XREADFREQ", "ReadFreq", kQuery},
    CommandKey{"XREADMODE", "ReadMode", kQuery},
    CommandKey{"XGETSMETER", "GetSMeter", kQuery},
    CommandKey{"XGETALPHA", "GET ALPHA", kSliderQuery, 3},
    CommandKey{"XGETBRAVO", "GET BRAVO", kSliderQuery, 4},
    CommandKey{"XGETCHAR", "GET CHAR", kSliderQuery, 5},
    CommandKey{"XGETMISC", "USR1", kSliderQuery, 6},
    CommandKey{"XGETAF", "GetAF", kSliderQuery, 7},
    CommandKey{"XGETRF", "GetRF", kSliderQuery, 8},
    CommandKey{"XGETPOWER", "User1", kSliderQuery, 9},
    CommandKey{"XGETFILTER", "User2", kSliderQuery, 10},
    CommandKey{"XGETNOTCH", "User3", kSliderQuery, 11},
    CommandKey{"XCWSPEED", "MEMO4", kSlider, 1},
    CommandKey{"XSENDALPHA", "SET ALPHA", kSlider, 3},
    CommandKey{"XSENDBRAVO", "SET BRAVO", kSlider, 4},
    CommandKey{"XSENDCHAR", "SET CHAR", kSlider, 5},
    CommandKey{"XMISC", "USER4", kSlider, 6},
    CommandKey{"XAFGAIN", "AFGain", kSlider, 7},
    CommandKey{"XRFGAIN", "RFGain", kSlider, 8},
    CommandKey{"XPOWER", "Power", kSlider, 9},
    CommandKey{"XFILTER", "Filter", kSlider, 10},
    CommandKey{"XNOTCH", "Notch", kSlider, 11},
    CommandKey{"XSIDETONE", "", kSlider, 2},  // no row has a command for the tone
    CommandKey{"XSETFREQ", "SetFreq", kFrequency},
    CommandKey{"XSETFREQB", "/2", kFrequency},
    CommandKey{"XVFOA", "VFOA"},
    CommandKey{"XVFOB", "VFOB"},
    CommandKey{"XLSB", "LSB"},
    CommandKey{"XUSB", "USB"},
    CommandKey{"XCWW", "CWw"},
    CommandKey{"XCWN", "CWn"},
    CommandKey{"XAM", "AM"},
    CommandKey{"XFMW", "FMw"},
    CommandKey{"XFMN", "FMn"},
    CommandKey{"XRTTY", "RTTY"},
    CommandKey{"XRITON", "RITON"},
    CommandKey{"XRITUP", "RITUP"},
    CommandKey{"XRITDOWN", "RITDOWN"},
    CommandKey{"XXITON", "XITON"},
    CommandKey{"XXITUP", "XITUP"},
    CommandKey{"XXITDOWN", "XITDOWN"},
    CommandKey{"XSETALPHA", "Alpha"},
    CommandKey{"XSETBRAVO", "Bravo"},
    CommandKey{"XSETGEN", "GENON"},
    CommandKey{"XSETHAM", "SSScan"},
    CommandKey{"XSSSCAN", "SSScan"},
    CommandKey{"XMEMCH", "Memo6"},
    CommandKey{"XMEMTOVFO", "XITOFF"},
    CommandKey{"XVFOTOMEM", "/1"},
    CommandKey{"XUSER5", "USER5"},
    CommandKey{"XUSER6", "USER6"},
    CommandKey{"XUSER7", "user7"},
    CommandKey{"XUSER8", "user8"},
    CommandKey{"XFN1", "Function1", kFunction, 1},
    CommandKey{"XFN2", "Function2", kFunction, 2},
    CommandKey{"XFN3", "Function3", kFunction, 3},
    CommandKey{"XFN4", "Function4", kFunction, 4},
    CommandKey{"XFN5", "Function5", kFunction, 5},
    CommandKey{"XFN6", "Function6", kFunction, 6},
    CommandKey{"XFN7", "Function7", kFunction, 7},
    CommandKey{"XFN8", "Function8", kFunction, 8},
    CommandKey{"XFN9", "Function9", kFunction, 9},
    CommandKey{"ALC", "Meter1"},
    CommandKey{"PWR", "Meter2"},
    CommandKey{"SWR", "Meter3"},
    CommandKey{"ID", "Meter4"},
    CommandKey{"VDD", "Meter5"},
    CommandKey{"COMP", "Meter6"},
    CommandKey{"AGCOFF", "AGC1"},
    CommandKey{"AGCAUTO", "AGC2"},
    CommandKey{"AGCFAST", "AGC3"},
    CommandKey{"AGCMED", "AGC4"},
    CommandKey{"AGCSLOW", "AGC5"},
};

}  // namespace

const CommandKey* FindKey(std::string_view text) {
  const auto* key =
      std::find_if(kKeys.begin(), kKeys.end(), [&](const CommandKey& row) { return EqualNoCase(row.key, text); });
  return key == kKeys.end() ? nullptr : key;
}

const CommandKey* SliderKey(int number) {
  const auto* key = std::find_if(kKeys.begin(), kKeys.end(),
                                 [&](const CommandKey& row) { return row.kind == kSlider && row.number == number; });
  return key == kKeys.end() ? nullptr : key;
}

}  // namespace kvx::cat
