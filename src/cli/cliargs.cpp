#include "cli/cliargs.h"

#include "support/machine.h"

#include <cstring>
#include <map>
#include <sys/stat.h>

namespace pivotel::cli {

namespace {

// Options that take no value: each sets one switch.
struct Switch {
    bool CliOptions::*member;
    bool value;
};

const std::map<QString, Switch>& switches() {
    static const std::map<QString, Switch> table{
        {QStringLiteral("--reencode"), {&CliOptions::reencode, true}},
        {QStringLiteral("--process-all"), {&CliOptions::processall, true}},
        {QStringLiteral("--no-recursive"), {&CliOptions::recursive, false}},
        {QStringLiteral("--preserve-dates"), {&CliOptions::preservedates, true}},
        {QStringLiteral("--look"), {&CliOptions::look, true}},
        {QStringLiteral("--dry-run"), {&CliOptions::dryrun, true}},
        {QStringLiteral("--json"), {&CliOptions::json, true}},
        {QStringLiteral("--quiet"), {&CliOptions::quiet, true}},
        {QStringLiteral("--verbose"), {&CliOptions::verbose, true}},
        {QStringLiteral("--help"), {&CliOptions::help, true}},
        {QStringLiteral("--version"), {&CliOptions::version, true}},
    };
    return table;
}

// The short forms people type without thinking, as their long option.
QString longform(const QString& argument) {
    static const std::map<QString, QString> table{
        {QStringLiteral("-h"), QStringLiteral("--help")},
        {QStringLiteral("-V"), QStringLiteral("--version")},
        {QStringLiteral("-q"), QStringLiteral("--quiet")},
        {QStringLiteral("-v"), QStringLiteral("--verbose")},
        {QStringLiteral("-j"), QStringLiteral("--jobs")},
    };
    // "-j4" as make takes it.
    if (argument.startsWith(QLatin1String("-j")) && argument.size() > 2)
        return QStringLiteral("--jobs=") + argument.mid(2);
    const auto found = table.find(argument);
    return found == table.end() ? argument : found->second;
}

bool takesvalue(const QString& name) {
    return name == QLatin1String("--action") || name == QLatin1String("--quality") ||
           name == QLatin1String("--odd-sizes") || name == QLatin1String("--jobs") ||
           name == QLatin1String("--memory-limit");
}

} // namespace

QString usagetext() {
    return QStringLiteral(
        "Usage: pivotel-cli [OPTIONS] PATH...\n"
        "Turns JPEG photos in place, by their EXIF orientation or by a chosen action: losslessly,\n"
        "or by re-encoding them at a chosen quality.\n"
        "PATH may name files and folders; folders are scanned with their sub folders.\n"
        "\n"
        "  --no-recursive          only the files directly in a folder\n"
        "  --action=ACTION         one action for every photo: cw, ccw, 180, flip (left to\n"
        "                          right), flipv (top to bottom), transpose (cw, then flip),\n"
        "                          transverse (ccw, then flip) or asis (default: from the EXIF\n"
        "                          orientation; photos needing no turn are skipped)\n"
        "  --reencode              decode and re-encode each photo instead of turning it\n"
        "                          losslessly\n"
        "  --quality=N             JPEG quality of --reencode, 10 to 100 (default 75)\n"
        "  --odd-sizes=POLICY      a photo whose size isn't whole blocks at an edge that a\n"
        "                          lossless turn brings to the top or left: trim drops that edge\n"
        "                          (at most 15 pixels), reencode turns that photo exactly at its\n"
        "                          own quality, keep leaves the edge unturned (default trim)\n"
        "  --process-all           with --reencode: every photo, also those needing no turn,\n"
        "                          which are re-encoded unturned\n"
        "  --preserve-dates        keep each photo's modification and access times\n"
        "  -j N, --jobs=N          turn N photos at once (default: one per core)\n"
        "  --memory-limit=SIZE     the most memory the photos in work may need together, e.g.\n"
        "                          800M or 4G (default: half the machine's memory); a photo\n"
        "                          that alone needs more is reported and left as it is\n"
        "  --look                  photos without a useful EXIF orientation (none, 0 or 1):\n"
        "                          look at the picture for upright faces and lines of text,\n"
        "                          and turn those with a clear cue; the others stay as they are\n"
        "  --dry-run               list each photo and its action; change nothing\n"
        "  --json                  print the final report as JSON on standard output\n"
        "  -q, --quiet             print only errors (and the report with --json)\n"
        "  -v, --verbose           each photo as it is done: its action, the way, each step,\n"
        "                          the outcome, notes and the time it took\n"
        "  -h, --help              show this help and exit\n"
        "  -V, --version           show the version and exit\n"
        "  --                      end of the options: every argument after it is a path\n"
        "\n"
        "An option's value may follow it as the next argument: --quality 90 is --quality=90.\n"
        "\n"
        "Exit status: 0 when every photo was done, 1 when any photo or input failed or was\n"
        "missing, 2 for bad usage or when no input was a JPEG photo, 130 when stopped by\n"
        "Ctrl-C and 143 by SIGTERM (the photos in work are finished first; a second signal stops\n"
        "at once, and each of those photos is still whole: the old one or the turned one).\n");
}

Result<CliOptions> parsearguments(const QStringList& arguments) {
    CliOptions options;
    bool onlypaths = false;
    bool qualitygiven = false;
    bool oddsizesgiven = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        // A lone "-" is a path, as for most tools that take files.
        if (onlypaths || !arguments[i].startsWith(QLatin1Char('-')) || arguments[i] == QLatin1String("-")) {
            options.paths << arguments[i];
            continue;
        }
        const QString argument = longform(arguments[i]);
        if (!argument.startsWith(QLatin1String("--")))
            return Status::failure(QStringLiteral("unknown option %1").arg(argument));
        const QString name = argument.section(QLatin1Char('='), 0, 0);
        bool hasvalue = argument.contains(QLatin1Char('='));
        QString value = argument.section(QLatin1Char('='), 1);
        if (!hasvalue && takesvalue(name) && i + 1 < arguments.size()) {
            value = arguments[++i];
            hasvalue = true;
        }
        if (argument == QLatin1String("--")) {
            onlypaths = true;
        } else if (name == QLatin1String("--action")) {
            const auto found = actionfortoken(value.toLower());
            if (!hasvalue || !found)
                return Status::failure(
                    QStringLiteral(
                        "--action needs one of cw, ccw, 180, flip, flipv, transpose, transverse, asis "
                        "(got \"%1\")")
                        .arg(value));
            options.action = *found;
        } else if (name == QLatin1String("--quality")) {
            bool number = false;
            const int quality = value.toInt(&number);
            if (!hasvalue || !number || quality < 10 || quality > 100)
                return Status::failure(
                    QStringLiteral("--quality needs a whole number from 10 to 100 (got \"%1\")").arg(value));
            options.quality = quality;
            qualitygiven = true;
        } else if (name == QLatin1String("--odd-sizes")) {
            const auto found = oddsizesfromword(value.toLower());
            if (!hasvalue || !found)
                return Status::failure(
                    QStringLiteral("--odd-sizes needs one of trim, reencode, keep (got \"%1\")").arg(value));
            options.oddsizes = *found;
            oddsizesgiven = true;
        } else if (name == QLatin1String("--jobs")) {
            bool number = false;
            const int jobs = value.toInt(&number);
            if (!hasvalue || !number || jobs < 1 || jobs > maxjobs)
                return Status::failure(QStringLiteral("--jobs needs a whole number from 1 to %1 (got \"%2\")")
                                           .arg(maxjobs)
                                           .arg(value));
            options.jobs = jobs;
        } else if (name == QLatin1String("--memory-limit")) {
            const auto limit = sizefromtext(value);
            if (!hasvalue || !limit)
                return Status::failure(
                    QStringLiteral("--memory-limit needs a size such as 800M or 4G (got \"%1\")").arg(value));
            options.memorylimit = *limit;
        } else if (const auto found = switches().find(name); found != switches().end()) {
            if (hasvalue)
                return Status::failure(QStringLiteral("%1 takes no value").arg(name));
            options.*found->second.member = found->second.value;
        } else {
            return Status::failure(QStringLiteral("unknown option %1").arg(argument));
        }
    }
    // Lossless turns have no quality and never take photos that need no turn; a re-encoding
    // keeps every pixel whatever the size.
    if (qualitygiven && !options.reencode)
        return Status::failure(QStringLiteral("--quality needs --reencode"));
    if (oddsizesgiven && options.reencode)
        return Status::failure(QStringLiteral("--odd-sizes is for lossless turns, not with --reencode"));
    if (options.processall && !options.reencode)
        return Status::failure(QStringLiteral("--process-all needs --reencode"));
    if (options.look && options.action)
        return Status::failure(QStringLiteral("--look and --action can't be used together"));
    if (options.quiet && options.verbose)
        return Status::failure(QStringLiteral("--quiet and --verbose can't be used together"));
    if (options.paths.isEmpty() && !options.help && !options.version)
        return Status::failure(QStringLiteral("no photo or folder given"));
    return options;
}

bool mayreusebuffers(int argc, const char* const argv[], int workers) {
    int photos = 0;
    bool options = true;
    for (int i = 1; i < argc; ++i) {
        if (options && std::strcmp(argv[i], "--") == 0) {
            options = false;
            continue;
        }
        if (options && argv[i][0] == '-' && argv[i][1] != '\0')
            continue;
        struct stat st {};
        if (::stat(argv[i], &st) != 0)
            continue;
        if (S_ISDIR(st.st_mode) || (S_ISREG(st.st_mode) && ++photos > workers))
            return true;
    }
    return false;
}

} // namespace pivotel::cli
