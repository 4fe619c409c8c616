#include "cli/cliargs.h"

#include <map>

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
        {QStringLiteral("--dry-run"), {&CliOptions::dryrun, true}},
        {QStringLiteral("--json"), {&CliOptions::json, true}},
        {QStringLiteral("--help"), {&CliOptions::help, true}},
        {QStringLiteral("--version"), {&CliOptions::version, true}},
    };
    return table;
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
        "  --action=ACTION         one action for every photo: cw, ccw, 180, flip or asis\n"
        "                          (default: from the EXIF orientation; photos needing no turn\n"
        "                          are skipped)\n"
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
        "  --dry-run               list each photo and its action; change nothing\n"
        "  --json                  print the final report as JSON on standard output\n"
        "  --help                  show this help\n"
        "  --version               show the version\n"
        "\n"
        "Exit status: 0 when every photo was done, 1 when any photo or input failed or was\n"
        "missing, 2 for bad usage or when no input was a JPEG photo.\n");
}

Result<CliOptions> parsearguments(const QStringList& arguments) {
    CliOptions options;
    bool onlypaths = false;
    bool qualitygiven = false;
    bool oddsizesgiven = false;
    for (const QString& argument : arguments) {
        if (onlypaths || !argument.startsWith(QLatin1Char('-'))) {
            options.paths << argument;
            continue;
        }
        if (!argument.startsWith(QLatin1String("--")))
            return Status::failure(QStringLiteral("unknown option %1").arg(argument));
        const QString name = argument.section(QLatin1Char('='), 0, 0);
        const bool hasvalue = argument.contains(QLatin1Char('='));
        const QString value = argument.section(QLatin1Char('='), 1);
        if (argument == QLatin1String("--")) {
            onlypaths = true;
        } else if (name == QLatin1String("--action")) {
            const auto found = actionfortoken(value.toLower());
            if (!hasvalue || !found)
                return Status::failure(
                    QStringLiteral("--action needs one of cw, ccw, 180, flip, asis (got \"%1\")").arg(value));
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
    if (options.paths.isEmpty() && !options.help && !options.version)
        return Status::failure(QStringLiteral("no photo or folder given"));
    return options;
}

} // namespace pivotel::cli
