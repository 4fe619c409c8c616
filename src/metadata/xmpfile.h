#pragma once

#include "support/status.h"

#include <QString>
#include <exempi/xmp.h>
#include <memory>
#include <type_traits>

namespace pivotel {

// An XMP packet in memory, owned.
class XmpMeta {
  public:
    XmpMeta();

    XmpPtr get() const { return meta_.get(); }
    bool hasproperty(const char* schema, const char* name) const;
    bool setproperty(const char* schema, const char* name, const QString& value);

  private:
    struct Free {
        void operator()(XmpPtr meta) const { xmp_free(meta); }
    };
    std::unique_ptr<std::remove_pointer_t<XmpPtr>, Free> meta_;
};

// A file opened through the XMP library for update. Nothing is written unless closesafely()
// succeeds: the library then writes the whole new file beside it and swaps it in.
class XmpFile {
  public:
    static Result<XmpFile> openforupdate(const QString& path);

    bool getxmp(XmpMeta& meta);
    bool canputxmp(const XmpMeta& meta);
    bool putxmp(const XmpMeta& meta);
    Status closesafely();

  private:
    struct Free {
        void operator()(XmpFilePtr file) const { xmp_files_free(file); }
    };
    explicit XmpFile(XmpFilePtr file) : file_(file) {}
    std::unique_ptr<std::remove_pointer_t<XmpFilePtr>, Free> file_;
};

// The library's last error as a reason a user can read.
QString xmperrortext();

} // namespace pivotel
