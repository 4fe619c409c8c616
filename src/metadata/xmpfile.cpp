#include "metadata/xmpfile.h"

#include "support/nativepath.h"

#include <QFile>
#include <exempi/xmperrors.h>
#include <mutex>

namespace pivotel {

namespace {

// The library is started once, on first use, and stays up for the program's life.
bool xmpready() {
    static std::once_flag once;
    static bool ready = false;
    std::call_once(once, [] { ready = xmp_init(); });
    return ready;
}

} // namespace

XmpMeta::XmpMeta() : meta_(xmpready() ? xmp_new_empty() : nullptr) {
}

bool XmpMeta::hasproperty(const char* schema, const char* name) const {
    return meta_ && xmp_has_property(meta_.get(), schema, name);
}

bool XmpMeta::setproperty(const char* schema, const char* name, const QString& value) {
    return meta_ && xmp_set_property(meta_.get(), schema, name, value.toUtf8().constData(), 0);
}

Result<XmpFile> XmpFile::openforupdate(const QString& path) {
    if (!xmpready())
        return Status::failure(QStringLiteral("the XMP library can't start"));
    XmpFilePtr file = xmp_files_open_new(nativepath(path).constData(), XMP_OPEN_FORUPDATE);
    if (!file)
        return Status::failure(xmperrortext());
    return XmpFile(file);
}

bool XmpFile::getxmp(XmpMeta& meta) {
    return meta.get() && xmp_files_get_xmp(file_.get(), meta.get());
}

bool XmpFile::canputxmp(const XmpMeta& meta) {
    return meta.get() && xmp_files_can_put_xmp(file_.get(), meta.get());
}

bool XmpFile::putxmp(const XmpMeta& meta) {
    return meta.get() && xmp_files_put_xmp(file_.get(), meta.get());
}

Status XmpFile::closesafely() {
    if (!xmp_files_close(file_.get(), XMP_CLOSE_SAFEUPDATE))
        return Status::failure(xmperrortext());
    return Status::success();
}

QString xmperrortext() {
    const int error = xmp_get_error();
    switch (error) {
    case XMPErr_BadFileFormat:
    case XMPErr_NoFileHandler:
        return QStringLiteral("the XMP library doesn't know the file's format");
    case XMPErr_BadJPEG:
        return QStringLiteral("the XMP library finds the JPEG damaged");
    case XMPErr_BadTIFF:
        return QStringLiteral("the XMP library finds the EXIF block damaged");
    case XMPErr_BadXML:
    case XMPErr_BadRDF:
    case XMPErr_BadXMP:
    case XMPErr_BadParse:
        return QStringLiteral("the XMP library can't read the photo's XMP packet");
    case XMPErr_TooLargeForJPEG:
        return QStringLiteral("the XMP packet is too large for a JPEG");
    default:
        return QStringLiteral("the XMP library refused the file (error %1)").arg(error);
    }
}

} // namespace pivotel
