#include "photolist/action.h"

namespace pivotel {

namespace {

struct ActionNames {
    Action action;
    QString label;
    QString token;
};

// The one table from actions to the words that stand for them.
const std::array<ActionNames, allactions.size()>& names() {
    static const std::array<ActionNames, allactions.size()> table{{
        {Action::AsIs, QStringLiteral("As Is"), QStringLiteral("asis")},
        {Action::Rotate90Clockwise, QStringLiteral("Rotate 90\u00BA Clockwise"), QStringLiteral("cw")},
        {Action::Rotate90Counterclockwise, QStringLiteral("Rotate 90\u00BA Counterclockwise"),
         QStringLiteral("ccw")},
        {Action::Rotate180, QStringLiteral("Rotate 180\u00BA"), QStringLiteral("180")},
        {Action::FlipLeft, QStringLiteral("Flip Left"), QStringLiteral("flip")},
        {Action::FlipUpsideDown, QStringLiteral("Flip Upside Down"), QStringLiteral("flipv")},
        {Action::Transpose, QStringLiteral("Rotate 90\u00BA Clockwise and Flip Left"),
         QStringLiteral("transpose")},
        {Action::Transverse, QStringLiteral("Rotate 90\u00BA Counterclockwise and Flip Left"),
         QStringLiteral("transverse")},
    }};
    return table;
}

const ActionNames& namesof(Action action) {
    return names()[static_cast<size_t>(action)];
}

} // namespace

QString labelof(Action action) {
    return namesof(action).label;
}

QString tokenof(Action action) {
    return namesof(action).token;
}

std::optional<Action> actionforlabel(const QString& label) {
    for (const ActionNames& entry : names()) {
        if (entry.label.compare(label, Qt::CaseInsensitive) == 0)
            return entry.action;
    }
    return std::nullopt;
}

std::optional<Action> actionfortoken(const QString& token) {
    for (const ActionNames& entry : names()) {
        if (entry.token == token)
            return entry.action;
    }
    return std::nullopt;
}

const QStringList& actionlabels() {
    static const QStringList labels = [] {
        QStringList all;
        for (const ActionNames& entry : names())
            all.append(entry.label);
        return all;
    }();
    return labels;
}

Action actionfororientation(int orientation) {
    switch (orientation) {
    case 2:
        return Action::FlipLeft;
    case 3:
        return Action::Rotate180;
    case 4:
        return Action::FlipUpsideDown;
    case 5:
        return Action::Transpose;
    case 6:
        return Action::Rotate90Clockwise;
    case 7:
        return Action::Transverse;
    case 8:
        return Action::Rotate90Counterclockwise;
    default:
        return Action::AsIs;
    }
}

QString countertext(qint64 count) {
    if (count == 1)
        return QStringLiteral("1 Photo");
    return QString::number(count) + QStringLiteral(" Photos");
}

} // namespace pivotel
