// pivotel-cli: the headless front end. It takes photos in as the window does, runs the same
// engine with the same rules, and reports on standard error (and as JSON on request).

#include "cli/cliargs.h"
#include "cli/intake.h"
#include "cli/picturecheck.h"
#include "cli/progress.h"
#include "cli/report.h"
#include "engine/photorewrite.h"
#include "engine/runsession.h"
#include "photolist/action.h"
#include "support/appidentity.h"
#include "support/machine.h"
#include "support/memorypolicy.h"
#include "support/nativepath.h"
#include "support/places.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QTimer>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <map>
#include <optional>
#include <unistd.h>

using namespace pivotel;
using namespace pivotel::cli;

namespace {

// The first SIGINT or SIGTERM stops the run after the photo in work; the handler only notes it
// and wakes the event loop through a pipe.
std::atomic<int> stopsignal{0};
int wakepipe[2] = {-1, -1};
// With --json, what a second signal prints before the program ends: made before the run, since a
// signal handler may only write. Once the real report is being written, nothing.
QByteArray reportatstop[2]; // after SIGINT, after SIGTERM
std::atomic<bool> printatstop{false};

void onstopsignal(int signal) {
    int expected = 0;
    if (!stopsignal.compare_exchange_strong(expected, signal)) {
        // A second signal ends the program at once, by the signal's own default. The photo in
        // work is still whole: it is replaced in one rename, or not at all.
        if (printatstop.exchange(false)) {
            const QByteArray& report = reportatstop[signal == SIGINT ? 0 : 1];
            [[maybe_unused]] const auto written =
                ::write(STDOUT_FILENO, report.constData(), size_t(report.size()));
        }
        struct sigaction fallback {};
        fallback.sa_handler = SIG_DFL;
        ::sigaction(SIGINT, &fallback, nullptr);
        ::sigaction(SIGTERM, &fallback, nullptr);
        ::raise(signal); // delivered once the handler returns
        return;
    }
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(wakepipe[1], &byte, 1);
}

void catchstopsignals() {
    if (::pipe2(wakepipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return; // without the pipe the signals keep their default: stop at once
    struct sigaction action {};
    action.sa_handler = onstopsignal;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

void say(const QString& text) {
    std::fputs(text.toLocal8Bit().constData(), stderr);
    std::fflush(stderr);
}

void writestdout(const QByteArray& bytes) {
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}

QString outcometext(const PhotoReport& photo) {
    switch (photo.outcome) {
    case PhotoOutcome::Turned:
        return QStringLiteral("done");
    case PhotoOutcome::Missing:
        return QStringLiteral("missing: ") + photo.reason;
    case PhotoOutcome::Failed:
        return QStringLiteral("not done: ") + photo.reason;
    case PhotoOutcome::Skipped:
        return QStringLiteral("left alone: ") + photo.reason;
    }
    return photo.reason;
}

std::vector<PhotoReport> runengine(const WorkList& work, const RunOptions& options, const CliOptions& cli,
                                   QCoreApplication& app) {
    if (stopsignal != 0)
        return {};
    RunSession run(work, options, {datafolder(), toolfile()});
    std::optional<Progress> progress;
    if (!cli.quiet)
        progress.emplace(static_cast<qint64>(work.size()), stderr);
    const QString way = options.uselosslessrotation
                            ? QStringLiteral("lossless")
                            : QStringLiteral("re-encoded at quality %1").arg(options.quality);
    // With photos turned at once, each line of a photo's steps names it.
    const auto prefix = [&](qint64 index) {
        return run.jobs() > 1 && work.size() > 1 ? QStringLiteral("  %1: ").arg(work[size_t(index)].name)
                                                 : QStringLiteral("  ");
    };
    std::map<qint64, QElapsedTimer> clocks;
    QObject::connect(&run, &RunSession::photostarted, &app, [&](qint64 index, const QString& name) {
        clocks[index].start();
        if (!progress)
            return;
        progress->photo(index, name);
        if (cli.verbose)
            progress->line(QStringLiteral("%1: %2, %3")
                               .arg(work[size_t(index)].path, labelof(work[size_t(index)].action), way));
    });
    QObject::connect(&run, &RunSession::photostep, &app, [&](qint64 index, const QString& step) {
        if (progress && cli.verbose)
            progress->line(prefix(index) + step);
    });
    QObject::connect(&run, &RunSession::photofinished, &app, [&](const PhotoReport& photo) {
        const qint64 took = clocks[photo.index].elapsed();
        clocks.erase(photo.index);
        if (!progress)
            return;
        progress->photodone();
        if (!cli.verbose)
            return;
        progress->line(QStringLiteral("%1%2 (%3 ms)").arg(prefix(photo.index), outcometext(photo)).arg(took));
        for (const QString& note : photo.notes)
            progress->line(prefix(photo.index) + QStringLiteral("note: ") + note);
    });
    QObject::connect(&run, &RunSession::finished, &app, &QCoreApplication::quit);

    QSocketNotifier wake(wakepipe[0], QSocketNotifier::Read);
    QObject::connect(&wake, &QSocketNotifier::activated, &app, [&run, &wake, &cli] {
        wake.setEnabled(false);
        if (!cli.quiet)
            say(QStringLiteral("\nStopping after the photos in work (again to stop at once)...\n"));
        run.requeststop();
    });
    wake.setEnabled(wakepipe[0] >= 0);
    QTimer ticker;
    if (progress)
        QObject::connect(&ticker, &QTimer::timeout, &app, [&progress] { progress->tick(); });
    ticker.start(500);

    run.start();
    app.exec();
    if (progress)
        progress->finish();
    return run.reports();
}

} // namespace

int main(int argc, char* argv[]) {
    // A run in which no worker turns a second photo doesn't start again on huge pages: a phone
    // photo's turn gains less from them than the second start costs.
    if (mayreusebuffers(argc, argv, corecount()))
        restartwithhugepages(argv);
    catchstopsignals();
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
        // A script that asked for JSON gets it, even when the rest of the line can't be read.
        const qsizetype endofoptions = arguments.indexOf(QStringLiteral("--"));
        if (arguments.mid(0, endofoptions < 0 ? arguments.size() : endofoptions)
                .contains(QStringLiteral("--json")))
            writestdout(RunReport{.earlyexit = 2, .message = parsed.reason()}.json());
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
    // Ends with the report in each way out: the summary of a run, then the JSON when asked for.
    const auto finish = [&cli](const RunReport& report) {
        const QString summary = report.earlyexit != 0 ? QString() : report.summarytext(cli.quiet);
        if (!summary.isEmpty())
            say(summary);
        if (cli.json && printatstop.exchange(false))
            writestdout(report.json());
        return report.exitcode();
    };
    if (cli.json) {
        for (const int signal : {SIGINT, SIGTERM})
            reportatstop[signal == SIGINT ? 0 : 1] =
                RunReport{.stopsignal = signal,
                          .message =
                              QStringLiteral("stopped at once by a second signal: the photos in work are "
                                             "whole, as they were or turned, and the rest as they were")}
                    .json();
        printatstop = true;
    }

    // Before anything else: a rewrite that a killed run left is finished, and what it left goes.
    // A dry run changes no photo, so it only says so.
    if (const QStringList pending = cleanleftovers(datafolder(), !cli.dryrun); !pending.isEmpty()) {
        RunReport report{.dryrun = cli.dryrun,
                         .earlyexit = 3,
                         .message = cli.dryrun
                                        ? QStringLiteral("a rewrite that a killed run left is pending; "
                                                         "run pivotel-cli without --dry-run, or start "
                                                         "Pivotel, to finish it")
                                        : QStringLiteral("a rewrite that a killed run left can't be "
                                                         "finished; its old content is kept in the data "
                                                         "folder")};
        for (const QString& photo : pending) {
            report.failed.emplace_back(photo, QStringLiteral("pending"), report.message);
            say(QStringLiteral("pivotel-cli: %1: %2\n").arg(photo, report.message));
        }
        report.message += QStringLiteral("; nothing else was done");
        return finish(report);
    }

    PhotoListModel list;
    // A stop signal ends a long scan at once; the run is then skipped.
    // A look needs the photos whose orientation asks for no turn on the list as well.
    const IntakeResult intake = takephotos(cli.paths,
                                           {cli.recursive, cli.action, cli.processall || cli.look,
                                            [] {
                                                return stopsignal != 0;
                                            }},
                                           list);
    for (const InputProblem& problem : intake.problems)
        say(QStringLiteral("pivotel-cli: %1: %2\n").arg(problem.path, problem.reason));
    if (intake.admitted == 0 && intake.skipped.empty()) {
        const bool stopped = stopsignal != 0;
        RunReport refused{.dryrun = cli.dryrun,
                          .stopsignal = stopsignal,
                          .earlyexit = stopped ? 128 + stopsignal : 2,
                          .message = stopped ? QStringLiteral("stopped while taking photos in")
                                             : QStringLiteral("no JPEG photo to work on")};
        for (const InputProblem& problem : intake.problems)
            refused.failed.emplace_back(problem.path, problem.code, problem.reason);
        say(QStringLiteral("pivotel-cli: %1\n").arg(refused.message));
        return finish(refused);
    }

    std::map<QString, QString> cues; // by path: the picture's cue behind a photo's action
    if (cli.look) {
        if (!cli.quiet)
            say(QStringLiteral("Looking at the pictures without a useful EXIF orientation...\n"));
        const auto looked = suggestfrompictures(list, cli.jobs, [] { return stopsignal != 0; });
        if (!looked) {
            say(QStringLiteral("pivotel-cli: --look: the picture check is unavailable: %1\n")
                    .arg(looked.reason()));
            return 2;
        }
        for (const auto& [row, cue] : looked.value())
            cues[list.row(row).path] = cue;
    }

    RunOptions options;
    options.uselosslessrotation = !cli.reencode;
    options.normalprocessall = cli.processall;
    options.quality = cli.quality;
    options.preservedates = cli.preservedates;
    options.oddsizes = cli.oddsizes;
    options.jobs = cli.jobs;
    options.memorybudget = cli.memorylimit;
    const SelectionRule rule = options.selection();
    list.counttodolist(rule);
    list.makelist(rule);

    RunReport report;
    report.dryrun = cli.dryrun;
    report.reencode = cli.reencode;
    const QString asis = tokenof(Action::AsIs);
    for (const InputProblem& problem : intake.problems)
        report.failed.emplace_back(problem.path, problem.code, problem.reason);
    for (const SkippedPhoto& skipped : intake.skipped)
        report.skipped.emplace_back(skipped.path, QStringLiteral("as-is"), skipped.reason, asis);
    for (qint64 r = 0; r < list.count(); ++r) {
        if (!rule.takes(list.row(r).action))
            report.skipped.emplace_back(list.row(r).path, QStringLiteral("as-is"),
                                        QStringLiteral("action \"As Is\""), asis);
    }
    if (cli.verbose) {
        for (const Entry& entry : report.skipped)
            say(QStringLiteral("%1: left alone: %2\n").arg(entry.path, entry.text));
    }

    if (cli.dryrun) {
        for (const PhotoRow& photo : list.filelist()) {
            report.turned.emplace_back(photo.path, QStringLiteral("planned"), QString(),
                                       tokenof(photo.action));
            const QString cue = cues[photo.path];
            report.turned.back().cue = cue;
            if (!cli.json)
                writestdout((labelof(photo.action) + QLatin1Char('\t') + photo.path +
                             (cue.isEmpty() ? QString() : QStringLiteral("\tpicture: ") + cue) +
                             QLatin1Char('\n'))
                                .toUtf8());
        }
    } else if (!list.filelist().empty()) {
        const std::vector<PhotoReport> done = runengine(list.filelist(), options, cli, app);
        for (const PhotoReport& photo : done) {
            const QString& path = photo.photo.path;
            const QString token = tokenof(photo.photo.action);
            switch (photo.outcome) {
            case PhotoOutcome::Turned:
                report.turned.emplace_back(path, QStringLiteral("turned"), QString(), token, photo.notes);
                report.turned.back().cue = cues[path];
                break;
            case PhotoOutcome::Skipped:
                // the same file as an earlier one, or turned or changed by someone else meanwhile
                report.skipped.emplace_back(path, QStringLiteral("changed-meanwhile"), photo.reason, token);
                break;
            case PhotoOutcome::Missing:
                report.failed.emplace_back(path, QStringLiteral("missing"), photo.reason, token);
                break;
            case PhotoOutcome::Failed:
                report.failed.emplace_back(path, QStringLiteral("failed"), photo.reason, token);
                break;
            }
        }
        // A stopped run leaves the rest as they were.
        for (size_t r = done.size(); r < list.filelist().size(); ++r)
            report.failed.emplace_back(list.filelist()[r].path, QStringLiteral("stopped"),
                                       QStringLiteral("not done: the run was stopped"),
                                       tokenof(list.filelist()[r].action));
    }
    report.stopsignal = stopsignal;
    return finish(report);
}
