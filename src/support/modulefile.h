#pragma once

#include "support/status.h"

#include <QFunctionPointer>
#include <QString>
#include <mutex>

namespace pivotel {

// Parts of the programs that bring many libraries of their own (the picture check's OpenCV and
// Tesseract, Qt Gui for decoding and re-encoding pixels) are modules, loaded the first time they
// are needed, so that a run that never needs them doesn't pay for loading those libraries.

// A module's file: the environment variable `environment` when set, else beside the program as
// installed (PREFIX/lib/pivotel/NAME) or in the bundle (Contents/PlugIns/NAME).
[[nodiscard]] QString modulefile(const QString& name, const char* environment);

// Loads the module `file` (it stays loaded: its threads may outlive a call) and finds its entry
// function `symbol`. A missing file or one that isn't such a module fails with the reason.
[[nodiscard]] Result<QFunctionPointer> moduleentry(const QString& file, const char* symbol);

// A module's table of functions, `Entry`, whose first member is the `int abi` the module was
// built with: loaded the first time `get` is called and kept. A module of another build is
// refused rather than called with arguments it reads otherwise; a failure is tried again next
// time, as a package may have been installed since.
template <typename Entry> class ModuleTable {
  public:
    ModuleTable(QString (*file)(), const char* symbol, int abi) : file_(file), symbol_(symbol), abi_(abi) {}

    Result<const Entry*> get() {
        const std::lock_guard lock(guard_);
        if (loaded_)
            return loaded_;
        const QString file = file_();
        const auto found = moduleentry(file, symbol_);
        if (!found)
            return found.status();
        using EntryFunction = const Entry* (*)();
        const Entry* entry = reinterpret_cast<EntryFunction>(found.value())();
        if (!entry || entry->abi != abi_)
            return Status::failure(QStringLiteral("its module %1 is from another build of Pivotel").arg(file));
        loaded_ = entry;
        return loaded_;
    }

  private:
    QString (*file_)();
    const char* symbol_;
    int abi_;
    std::mutex guard_;
    const Entry* loaded_ = nullptr;
};

} // namespace pivotel
