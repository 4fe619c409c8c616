#pragma once

#include <QByteArray>

namespace pivotel {

// Puts back the XMP packet's toolkit (the x:xmptk attribute) that `original` has in `rewritten`,
// a copy of it whose packet a metadata writer rewrote and signed with its own name; a toolkit
// that `original` lacks is taken out again. Nothing else changes. A packet that the old name
// would make too large for its segment is left as it is. Answers whether `rewritten` changed.
bool keepxmptoolkit(const QByteArray& original, QByteArray& rewritten);

} // namespace pivotel
