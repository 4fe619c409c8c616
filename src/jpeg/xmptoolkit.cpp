#include "jpeg/xmptoolkit.h"

#include "jpeg/segments.h"

#include <optional>

namespace pivotel {

namespace {

const QByteArrayView xmpsignature("http://ns.adobe.com/xap/1.0/\0", 29);
const QByteArrayView attribute("x:xmptk=");

struct Toolkit {
    qsizetype segment = -1; // where the packet's segment starts in the file, at its 0xFF
    qsizetype start = -1;   // the attribute, from the blank before it, in the file
    qsizetype length = 0;   // through its closing quote
    QByteArrayView value;   // between the quotes
    char quote = '"';
};

// The toolkit of the file's first XMP packet; a packet without one gives only its segment.
std::optional<Toolkit> toolkitof(const QByteArray& jpeg) {
    for (const HeaderSegment& segment : headersegments(jpeg)) {
        if (segment.marker != 0xE1 || !segment.body().startsWith(xmpsignature))
            continue;
        Toolkit toolkit;
        toolkit.segment = segment.bytes.data() - jpeg.constData();
        const QByteArrayView bytes = segment.bytes;
        const qsizetype at = bytes.indexOf(attribute);
        const qsizetype open = at + attribute.size();
        if (at < 1 || open >= bytes.size() || (bytes[open] != '"' && bytes[open] != '\''))
            return toolkit;
        const qsizetype close = bytes.indexOf(bytes[open], open + 1);
        if (close < 0)
            return toolkit;
        const qsizetype blank =
            bytes[at - 1] == ' ' || bytes[at - 1] == '\n' || bytes[at - 1] == '\t' ? at - 1 : at;
        toolkit.start = toolkit.segment + blank;
        toolkit.length = close + 1 - blank;
        toolkit.value = bytes.sliced(open + 1, close - open - 1);
        toolkit.quote = bytes[open];
        return toolkit;
    }
    return std::nullopt;
}

} // namespace

bool keepxmptoolkit(const QByteArray& original, QByteArray& rewritten) {
    const auto had = toolkitof(original);
    const auto now = toolkitof(rewritten);
    if (!had || !now || now->start < 0 || had->value == now->value)
        return false;
    const QByteArray replacement =
        had->start < 0 ? QByteArray()
                       : ' ' + attribute.toByteArray() + had->quote + had->value.toByteArray() + had->quote;
    const auto* bytes = reinterpret_cast<const unsigned char*>(rewritten.constData());
    const qsizetype length =
        (bytes[now->segment + 2] << 8 | bytes[now->segment + 3]) + replacement.size() - now->length;
    if (length > 0xFFFF)
        return false;
    rewritten.replace(now->start, now->length, replacement);
    rewritten[now->segment + 2] = char(length >> 8);
    rewritten[now->segment + 3] = char(length & 0xFF);
    return true;
}

} // namespace pivotel
