#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <gtest/gtest.h>

namespace pivotel::test {

struct CliResult {
    int exitcode = -1;
    QString out, err;
};

// Runs `command` (pivotel-cli, or a program that runs it) to its end with its data folder in
// `datahome`.
inline CliResult runcli(const QStringList& command, const QString& datahome) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), datahome);
    process.setProcessEnvironment(environment);
    process.start(command.front(), command.mid(1));
    EXPECT_TRUE(process.waitForFinished(120000));
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace pivotel::test
