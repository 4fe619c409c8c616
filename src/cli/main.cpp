// pivotel-cli: the headless front end. It takes photos in as the window does, runs the same
// engine with the same rules, and reports on standard error (and as JSON on request).

#include "cli/cliargs.h"
#include "cli/intake.h"
#include "cli/progress.h"
#include "cli/report.h"
#include "engine/photorewrite.h"
#include "engine/runsession.h"
#include "photolist/action.h"
#include "support/appidentity.h"
#include "support/memorypolicy.h"
#include "support/nativepath.h"
#include "support/places.h"

#include <QCoreApplication>
#include <QTimer>
#include <atomic>
#include <csignal>
#include <cstdio>

using namespace pivotel;
using namespace pivotel::cli;

namespace {

std::atomic<bool> interrupted{false};

void oninterrupt(int) {
    interrupted = true;
    // A second Ctrl-C ends the program at once; the photo in work is safe either way.
    std::signal(SIGINT, SIG_DFL);
}

void say(const QString& text) {
    std::fputs(text.toLocal8Bit().constData(), stderr);
    std::fflush(stderr);
}

void writestdout(const QByteArray& bytes) {
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}

std::vector<PhotoReport> runengine(const WorkList& work, const RunOptions& options, QCoreApplication& app) {
    RunSession run(work, options, {datafolder(), toolfile()});
    Progress progress(static_cast<qint64>(work.size()), stderr);
    QObject::connect(&run, &RunSession::photostarted, &app,
                     [&progress](qint64 index, const QString& name) { progress.photo(index, name); });
    QObject::connect(&run, &RunSession::finished, &app, &QCoreApplication::quit);

    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &app, [&run, &watch] {
        if (interrupted) {
            say(QStringLiteral("\nStopping after the photo in work...\n"));
            run.requeststop();
            watch.stop();
        }
    });
    std::signal(SIGINT, oninterrupt);
    watch.start(100);

    run.start();
    app.exec();
    progress.finish();
    return run.reports();
}

} // namespace

int main(int argc, char* argv[]) {
    reusephotobuffers();
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Pivotel"));
    QCoreApplication::setApplicationVersion(versiontext());

    // Taken as bytes: a path that isn't UTF-8 must still name its file.
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << pathfromnative(argv[i]);
    const auto parsed = parsearguments(arguments);
    if (!parsed) {
        say(QStringLiteral("pivotel-cli: %1\nTry 'pivotel-cli --help'.\n").arg(parsed.reason()));
        return 2;
    }
    const CliOptions& cli = parsed.value();
    if (cli.help) {
        writestdout(usagetext().toLocal8Bit());
        return 0;
    }
    if (cli.version) {
        writestdout(QStringLiteral("pivotel-cli %1\n").arg(versiontext()).toUtf8());
        return 0;
    }

    PhotoListModel list;
    const IntakeResult intake = takephotos(cli.paths, {cli.recursive, cli.action, cli.processall}, list);
    for (const InputProblem& problem : intake.problems)
        say(QStringLiteral("pivotel-cli: %1: %2\n").arg(problem.path, problem.reason));
    if (intake.admitted == 0 && intake.skipped.empty()) {
        say(QStringLiteral("pivotel-cli: no JPEG photo to work on\n"));
        return 2;
    }

    RunOptions options;
    options.uselosslessrotation = !cli.reencode;
    options.normalprocessall = cli.processall;
    options.quality = cli.quality;
    options.preservedates = cli.preservedates;
    options.oddsizes = cli.oddsizes;
    const SelectionRule rule = options.selection();
    list.counttodolist(rule);
    list.makelist(rule);

    RunReport report;
    report.dryrun = cli.dryrun;
    report.reencode = cli.reencode;
    for (const InputProblem& problem : intake.problems)
        report.failed.emplace_back(problem.path, problem.reason);
    for (const SkippedPhoto& skipped : intake.skipped)
        report.skipped.emplace_back(skipped.path, skipped.reason);
    for (qint64 r = 0; r < list.count(); ++r) {
        if (!rule.takes(list.row(r).action))
            report.skipped.emplace_back(list.row(r).path, QStringLiteral("action \"As Is\""));
    }

    if (cli.dryrun) {
        for (const PhotoRow& photo : list.filelist()) {
            report.turned.emplace_back(photo.path, labelof(photo.action));
            if (!cli.json)
                writestdout((labelof(photo.action) + QLatin1Char('\t') + photo.path + QLatin1Char('\n')).toUtf8());
        }
    } else if (!list.filelist().empty()) {
        cleanleftovers(datafolder());
        const std::vector<PhotoReport> done = runengine(list.filelist(), options, app);
        for (const PhotoReport& photo : done) {
            if (photo.outcome == PhotoOutcome::Turned)
                report.turned.emplace_back(photo.photo.path, labelof(photo.photo.action), photo.notes);
            else if (photo.outcome == PhotoOutcome::Skipped)
                report.skipped.emplace_back(photo.photo.path, photo.reason);
            else
                report.failed.emplace_back(photo.photo.path, photo.reason);
        }
        // A run stopped by Ctrl-C leaves the rest as they were.
        for (size_t r = done.size(); r < list.filelist().size(); ++r)
            report.failed.emplace_back(list.filelist()[r].path, QStringLiteral("not done: the run was stopped"));
    }

    say(report.summarytext());
    if (cli.json)
        writestdout(report.json());
    return report.exitcode();
}
