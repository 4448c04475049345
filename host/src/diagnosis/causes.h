// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "diagnosis/facts.h"
#include "diagnosis/verdict.h"

namespace vireo::host {

/// The causes that facts show, the most decisive first; none for a camera that is healthy.
///
/// Each cause is a function of the facts alone. Those of a later group count only where none of an earlier
/// one was found: who cannot reach a camera knows nothing of its frames, and "packets get lost somewhere" is
/// what remains when nothing tells where.
std::vector<Verdict> Diagnose(const Facts& facts);

using Cause = std::optional<Verdict> (*)(const Facts& facts);

// The causes by what they are about, in order of decisiveness.
std::vector<Cause> PathCauses();      ///< why the camera cannot be reached, or not be controlled
std::vector<Cause> SilenceCauses();   ///< when nothing tells why it does not answer, or cannot be opened
std::vector<Cause> LinkCauses();      ///< why receiving did not begin, or ended
std::vector<Cause> SettingsCauses();  ///< what its settings say
std::vector<Cause> PacketCauses();    ///< where its packets stay
std::vector<Cause> AnswerCauses();    ///< how it answers
std::vector<Cause> UsbCauses();
std::vector<Cause> LastCauses();  ///< when nothing else explains it

/// Such as "23 frames, 2 bad (1 timeout, 1 truncated), 4 lost in 3.1 s".
std::string CameText(const Reception& reception);
/// The same with ", 7.5 frames/s", where there is a rate.
std::string CameAtRateText(const Reception& reception);
/// "vireo-cam -a 10.0.0.2 set X=1".
std::string CommandText(const Facts& facts, const std::string& arguments);

}  // namespace vireo::host
