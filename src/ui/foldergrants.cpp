#include "ui/foldergrants.h"

#include "photolist/photolistmodel.h"
#include "support/nativepath.h"
#include "ui/dialogs.h"

namespace pivotel {

void FolderGrants::grant(const QString& folder) {
    sandboxfolder_ << folder;
}

void FolderGrants::whichfolderneeded(QWidget* parent, Dialogs& dialogs, const PhotoListModel& list) {
    listoffolder_.clear();
    for (qint64 r = 0; r < list.count(); ++r) {
        const QString folder = folderof(list.row(r).path);
        if (!sandboxfolder_.contains(folder) && !listoffolder_.contains(folder))
            listoffolder_ << folder;
    }
    if (listoffolder_.isEmpty())
        return;
    dialogs.tell(parent,
                 QStringLiteral("Due to the Sandbox Restriction, You will Need to Grant Write Permissions "
                                "to the Selected Files Folder.\n\n Folders which are denied write access "
                                "would use a roundabout way of performing the Photo Rotation"));
    for (const QString& folder : std::as_const(listoffolder_)) {
        const FolderPanel panel{
            QStringLiteral("Granting Write Permissions to Change File Date"),
            QStringLiteral(
                "Due to the Sandbox Restriction, Please Select This Folder to Grant It Permission for "
                "the Photo Rotation"),
            QStringLiteral("Grant Write Permissions"), folder};
        if (dialogs.grantfolder(parent, panel))
            grant(folder);
    }
}

} // namespace pivotel
