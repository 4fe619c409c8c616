#pragma once

#include <QString>
#include <QStringList>
#include <array>
#include <optional>

namespace pivotel {

// What a run does to a photo.
enum class Action { AsIs, Rotate90Clockwise, Rotate90Counterclockwise, Rotate180, FlipLeft };

// Every action, in menu order.
inline constexpr std::array<Action, 5> allactions{Action::AsIs, Action::Rotate90Clockwise,
                                                   Action::Rotate90Counterclockwise, Action::Rotate180,
                                                   Action::FlipLeft};

// The text a row, a menu and a report show for an action: "As Is", "Rotate 90º Clockwise", ...
// ("º" is U+00BA, the masculine ordinal indicator, not the degree sign.)
[[nodiscard]] QString labelof(Action action);
// The word pivotel-cli takes for it: asis, cw, ccw, 180, flip.
[[nodiscard]] QString tokenof(Action action);

// The action a label names, compared ignoring case; none for any other text.
[[nodiscard]] std::optional<Action> actionforlabel(const QString& label);
[[nodiscard]] std::optional<Action> actionfortoken(const QString& token);

// The five labels a user can choose, in menu order.
[[nodiscard]] const QStringList& actionlabels();

// The action an EXIF orientation asks for: 6 a clockwise quarter turn, 8 a counterclockwise
// one, 3 a half turn, anything else none.
[[nodiscard]] Action actionfororientation(int orientation);

// The row counter's text: "0 Photos", "1 Photo", "n Photos".
[[nodiscard]] QString countertext(qint64 count);

} // namespace pivotel
