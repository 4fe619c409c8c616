#include "photolist/labels.h"

namespace pivotel {

const QStringList& actionlabels() {
    static const QStringList labels{label::asis, label::rotatecw, label::rotateccw, label::rotate180,
                                    label::flipleft};
    return labels;
}

bool labelequals(const QString& a, const QString& b) {
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

Action actionforlabel(const QString& text) {
    if (labelequals(text, label::rotatecw))
        return Action::Rotate90;
    if (labelequals(text, label::rotateccw))
        return Action::Rotate270;
    if (labelequals(text, label::rotate180))
        return Action::Rotate180;
    if (labelequals(text, label::flipleft))
        return Action::MirrorHorizontal;
    return Action::None;
}

QString labelfororientation(const QString& orientation) {
    if (orientation == QLatin1String("6"))
        return label::rotatecw;
    if (orientation == QLatin1String("8"))
        return label::rotateccw;
    if (orientation == QLatin1String("3"))
        return label::rotate180;
    return label::asis;
}

QString countertext(qint64 count) {
    if (count == 1)
        return QStringLiteral("1 Photo");
    return QString::number(count) + QStringLiteral(" Photos");
}

} // namespace pivotel
