#pragma once

#include <QString>
#include <QStringList>
#include <array>
#include <cstddef>
#include <optional>

namespace pivotel {

// What a run does to a photo. The last three make upright the mirrored orientations, which few
// photos have: a mirror top to bottom, a quarter turn clockwise then a mirror left to right (the
// picture mirrored across its top-left to bottom-right diagonal), and a quarter turn
// counterclockwise then a mirror left to right (across the other diagonal).
enum class Action {
    AsIs,
    Rotate90Clockwise,
    Rotate90Counterclockwise,
    Rotate180,
    FlipLeft,
    FlipUpsideDown,
    Transpose,
    Transverse
};

// Every action: the five of the menus in their order, then the mirrored orientations' three.
inline constexpr std::array<Action, 8> allactions{
    Action::AsIs,      Action::Rotate90Clockwise, Action::Rotate90Counterclockwise,
    Action::Rotate180, Action::FlipLeft,          Action::FlipUpsideDown,
    Action::Transpose, Action::Transverse};
// How many of them the "Set All to ..." menu offers, and the pop-up above its separator.
inline constexpr std::size_t menuactions = 5;

// Whether the action makes the picture's rows its columns.
[[nodiscard]] constexpr bool swapssides(Action action) {
    return action == Action::Rotate90Clockwise || action == Action::Rotate90Counterclockwise ||
           action == Action::Transpose || action == Action::Transverse;
}

// The text a row, a menu and a report show for an action: "As Is", "Rotate 90º Clockwise", ...
// ("º" is U+00BA, the masculine ordinal indicator, not the degree sign.)
[[nodiscard]] QString labelof(Action action);
// The word pivotel-cli takes for it: asis, cw, ccw, 180, flip, flipv, transpose, transverse.
[[nodiscard]] QString tokenof(Action action);

// The action a label names, compared ignoring case; none for any other text.
[[nodiscard]] std::optional<Action> actionforlabel(const QString& label);
[[nodiscard]] std::optional<Action> actionfortoken(const QString& token);

// The labels of every action, in the order of `allactions`.
[[nodiscard]] const QStringList& actionlabels();

// The action that makes a photo of an EXIF orientation upright: 2 "Flip Left", 3 "Rotate 180º",
// 4 "Flip Upside Down", 5 a transpose, 6 "Rotate 90º Clockwise", 7 a transverse,
// 8 "Rotate 90º Counterclockwise"; 1 and anything else none.
[[nodiscard]] Action actionfororientation(int orientation);

// The row counter's text: "0 Photos", "1 Photo", "n Photos".
[[nodiscard]] QString countertext(qint64 count);

} // namespace pivotel
