#pragma once

#include <QString>
#include <optional>

namespace pivotel {

// What a lossless turn does with a photo whose size is not whole blocks at an edge the turn
// brings to the top or left, where no lossless turn can put a partial block: drop that edge (at
// most 15 pixels), re-encode that photo alone at its own quality, or keep the edge where it
// stands, unturned. A photo the turn fits is never touched by it.
enum class OddSizes { Trim, Reencode, Keep };

// The words that the stored settings and the command line use: "trim", "reencode", "keep".
[[nodiscard]] QString oddsizesword(OddSizes oddsizes);
[[nodiscard]] std::optional<OddSizes> oddsizesfromword(const QString& word);

} // namespace pivotel
