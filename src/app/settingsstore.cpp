#include "app/settingsstore.h"

#include "engine/runoptions.h"
#include "support/appidentity.h"

#include <QIODevice>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <cmath>

namespace pivotel {

namespace {

const QString keyonlyloadwhenneeded = QStringLiteral("onlyloadwhenneeded");
const QString keypreservedates = QStringLiteral("preservedates");
const QString keynormalprocessall = QStringLiteral("normalprocessall");
const QString keyuseexiforientation = QStringLiteral("useexiforientation");
const QString keyuselosslessrotation = QStringLiteral("uselosslessrotation");
const QString keyjpgquality = QStringLiteral("jpgquality");
const QString keyoddsizes = QStringLiteral("oddsizes");
const QString keyparallel = QStringLiteral("parallel");

// Qt's INI files keep no types ("true" and the text "true" read back alike), so outside macOS,
// whose native store keeps them, the options are kept as JSON, which does.
bool readjson(QIODevice& device, QSettings::SettingsMap& map) {
    const QJsonDocument document = QJsonDocument::fromJson(device.readAll());
    if (!document.isObject())
        return false;
    const QJsonObject object = document.object();
    for (auto it = object.begin(); it != object.end(); ++it)
        map.insert(it.key(), it.value().toVariant());
    return true;
}

bool writejson(QIODevice& device, const QSettings::SettingsMap& map) {
    QJsonObject object;
    for (auto it = map.begin(); it != map.end(); ++it)
        object.insert(it.key(), QJsonValue::fromVariant(it.value()));
    const QByteArray bytes = QJsonDocument(object).toJson(QJsonDocument::Indented);
    return device.write(bytes) == bytes.size();
}

QSettings::Format storeformat() {
#ifdef Q_OS_MACOS
    return QSettings::NativeFormat;
#else
    static const QSettings::Format format =
        QSettings::registerFormat(QStringLiteral("json"), readjson, writejson);
    return format;
#endif
}

QSettings openstore() {
    return QSettings(storeformat(), QSettings::UserScope, settingsorganization(), settingsapplication());
}

void readboolean(const QSettings& store, const QString& key, bool& value) {
    const QVariant stored = store.value(key);
    if (stored.typeId() == QMetaType::Bool)
        value = stored.toBool();
}

} // namespace

Settings loadsettings() {
    const QSettings store = openstore();
    Settings settings;
    readboolean(store, keyonlyloadwhenneeded, settings.onlyloadwhenneeded);
    readboolean(store, keypreservedates, settings.preservedates);
    readboolean(store, keynormalprocessall, settings.normalprocessall);
    readboolean(store, keyuseexiforientation, settings.useexiforientation);
    const QVariant quality = store.value(keyjpgquality);
    if (quality.typeId() == QMetaType::QString)
        settings.jpgquality = quality.toString();
    readboolean(store, keyuselosslessrotation, settings.uselosslessrotation);
    const QVariant oddsizes = store.value(keyoddsizes);
    if (oddsizes.typeId() == QMetaType::QString)
        settings.oddsizes = oddsizesfromword(oddsizes.toString()).value_or(settings.oddsizes);
    // JSON keeps every number as a double; only a whole count in range is taken.
    const QVariant parallel = store.value(keyparallel);
    if (parallel.typeId() == QMetaType::Double || parallel.typeId() == QMetaType::Int ||
        parallel.typeId() == QMetaType::LongLong) {
        const double count = parallel.toDouble();
        if (count >= 0 && count <= maxjobs && count == std::trunc(count))
            settings.parallel = int(count);
    }

    // A quality of 0 would make an unusable photo; it stands for the old default.
    QString trimmed = settings.jpgquality;
    while (!trimmed.isEmpty() && trimmed.back().isSpace())
        trimmed.chop(1);
    if (trimmed == QLatin1String("0"))
        settings.jpgquality = QStringLiteral("80");
    return settings;
}

void savesettings(const Settings& settings) {
    QSettings store = openstore();
    store.setValue(keyonlyloadwhenneeded, settings.onlyloadwhenneeded);
    store.setValue(keypreservedates, settings.preservedates);
    store.setValue(keynormalprocessall, settings.normalprocessall);
    store.setValue(keyuseexiforientation, settings.useexiforientation);
    store.setValue(keyuselosslessrotation, settings.uselosslessrotation);
    store.setValue(keyjpgquality, settings.jpgquality);
    store.setValue(keyoddsizes, oddsizesword(settings.oddsizes));
    store.setValue(keyparallel, settings.parallel);
    store.sync();
}

QString settingslocation() {
    return openstore().fileName();
}

} // namespace pivotel
