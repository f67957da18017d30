#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/frequency.h"
#include "core/result.h"

namespace kvx::cat {

/// What a stretch of a band is for: what a chart colours by.
enum class BandUse { kCw, kData, kPhone, kMixed, kBeacon, kSatellite, kRepeater, kDx, kCalling };
/// "cw", "data", ... as a band plan writes it.
std::string_view BandUseName(BandUse use);

/// Licence classes of the United States, the lowest first; none where a plan does not say.
enum class LicenceClass { kNone, kNovice, kTechnician, kGeneral, kAdvanced, kExtra };
/// "Novice", "Technician", ...; empty for none.
std::string_view LicenceClassName(LicenceClass licence);

/// The band plan of one region. Base segments never overlap; notes (a calling frequency, a beacon, a DX window) lie
/// inside a wider segment each, and the narrowest segment that holds a frequency is the one that counts.
class BandPlan {
 public:
  struct Segment {
    Frequency from;  ///< the first frequency in it
    Frequency to;    ///< the first one above it
    BandUse use = BandUse::kMixed;
    std::string text;
    /// The lowest class that may transmit here; a note without one has that of its surroundings.
    LicenceClass privilege = LicenceClass::kNone;
    bool note = false;  ///< lies inside a wider segment

    bool operator==(const Segment&) const = default;
  };

  /// Reads CSV with the columns from_khz,to_khz,use,text,privilege, sorted by lower limit and the wider segment first;
  /// `#` lines and empty lines are skipped, and a field may be quoted. An error names the line.
  static Result<BandPlan> Parse(std::string_view csv);

  /// The narrowest segment that holds the frequency; null between the bands. Valid as long as this plan is.
  const Segment* At(Frequency frequency) const;
  /// The base segments, cut to [from, to): what a chart fills.
  std::vector<Segment> Between(Frequency from, Frequency to) const { return Cut(from, to, false); }
  /// The notes, cut to [from, to), a wider one before those inside it: what a chart draws on top.
  std::vector<Segment> NotesBetween(Frequency from, Frequency to) const { return Cut(from, to, true); }

  /// All of them in the order of the file.
  const std::vector<Segment>& segments() const { return segments_; }

 private:
  /// From here up to the next piece this segment is the narrowest, or there is none. Of two that begin together the
  /// later counts.
  struct Piece {
    Frequency from;
    std::optional<std::size_t> segment;
  };

  std::string Add(Segment segment);
  void EndOpenSegments(Frequency up_to);
  std::vector<Segment> Cut(Frequency from, Frequency to, bool notes) const;

  std::vector<Segment> segments_;
  std::vector<Piece> pieces_;
  std::vector<std::size_t> open_;  ///< while reading: the segments around the place that is read, the widest first
};

}  // namespace kvx::cat
