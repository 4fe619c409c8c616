#include "support/machine.h"

#include <QRegularExpression>
#include <QThread>
#include <cmath>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace pivotel {

int corecount() {
    return qMax(1, QThread::idealThreadCount());
}

void runonthreads(int threads, const std::function<void()>& work) {
    std::vector<std::thread> helpers;
    for (int i = 1; i < threads; ++i) {
        try {
            helpers.emplace_back(work);
        } catch (const std::system_error&) {
            break; // no more threads to be had: those there are do all the work
        }
    }
    work();
    for (std::thread& helper : helpers)
        helper.join();
}

bool quickbitdeposit() {
#if defined(__x86_64__) && defined(__GNUC__)
    __builtin_cpu_init();
    return __builtin_cpu_supports("bmi2") && !__builtin_cpu_is("znver1") && !__builtin_cpu_is("znver2");
#else
    return false;
#endif
}

qint64 physicalmemory() {
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long pagesize = ::sysconf(_SC_PAGESIZE);
    return pages > 0 && pagesize > 0 ? qint64(pages) * pagesize : qint64(0);
}

namespace {
constexpr const char* units = "KMGT";
}

QString sizetext(qint64 bytes) {
    if (bytes < 1024)
        return QStringLiteral("%1 bytes").arg(bytes);
    double value = double(bytes);
    int unit = -1;
    while (value >= 1024 && unit < 3) {
        value /= 1024;
        ++unit;
    }
    // One decimal below ten, where it says something.
    const QString number =
        value < 10 ? QString::number(value, 'f', 1) : QString::number(std::round(value), 'f', 0);
    return number + QLatin1Char(' ') + QLatin1Char(units[unit]) + QLatin1Char('B');
}

std::optional<qint64> sizefromtext(const QString& text) {
    static const QRegularExpression form(
        QStringLiteral("^\\s*(\\d+(?:\\.\\d+)?)\\s*(?:([kmgt])(?:i?b)?|b)?\\s*$"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    double value = match.captured(1).toDouble();
    const QString unit = match.captured(2).toUpper();
    if (!unit.isEmpty())
        value *= std::pow(1024.0, double(QByteArray(units).indexOf(unit.toLatin1()) + 1));
    if (value < 1 || value > 9.0e18)
        return std::nullopt;
    return qint64(value);
}

} // namespace pivotel
