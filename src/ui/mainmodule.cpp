#include "ui/mainmodule.h"

#include "metadata/startengine.h"
#include "photolist/action.h"
#include "support/appidentity.h"
#include "support/places.h"
#include "ui/dialogs.h"
#include "ui/maintoolbar.h"
#include "ui/optionspanel.h"
#include "ui/photolistview.h"
#include "ui/progresswheel.h"
#include "ui/runreport.h"

#include <QAction>
#include <QCloseEvent>
#include <QFileInfo>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLocale>
#include <QMouseEvent>
#include <QProgressBar>
#include <QScopedValueRollback>
#include <QTableView>

namespace pivotel {

MainModule::MainModule(Dialogs& dialogs, SettingsStore& settings, bool forappstore, QWidget* parent)
    : QMainWindow(parent), dialogs_(dialogs), settings_(settings), forappstore_(forappstore),
      list_(new PhotoListModel(this)), ui_(MainLayout::build(*this, *list_)),
      intake_(*list_, state_, dialogs, intakewindow()), preview_(*ui_.imagepreview) {
    setObjectName(QStringLiteral("mainmodule"));
    setWindowTitle(justappname());
    connect(ui_.options, &OptionsPanel::admissionchanged, &intake_, &PhotoIntake::optionschanged);
    if (forappstore_)
        connect(&intake_, &PhotoIntake::folderchosen, this,
                [this](const QString& folder) { grants_.grant(folder); });
    connect(ui_.list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { Listbox1_SelectionChanged(); });
    ui_.list->viewport()->installEventFilter(this);
    connect(ui_.list, &PhotoListView::actionpopup, this, &MainModule::Listbox1_popup);
    connect(ui_.list, &PhotoListView::contextmenu, this, &MainModule::Listbox1_ConstructContextualMenu);
    connect(ui_.list, &PhotoListView::removerequested, this, &MainModule::removeselectedrow);
    connect(ui_.list, &PhotoListView::dropped, this, &MainModule::takepaths);
    connect(ui_.list, &PhotoListView::refused, this, &MainModule::droprefused);
    // The viewer changes size with the window and with the splitter.
    ui_.imagepreview->installEventFilter(this);
    updatetimer_.setObjectName(QStringLiteral("updatetimer"));
    updatetimer_.setInterval(50);
    connect(&updatetimer_, &QTimer::timeout, this, [this] { updatetimer_Action(); });
    resize(minimumSizeHint());
    opening();
}

PhotoIntake::Window MainModule::intakewindow() {
    PhotoIntake::Window window;
    window.parent = this;
    window.admissionoptions = [this] {
        return ui_.options->admissionoptions();
    };
    window.updatecounter = [this] {
        updatecounter();
    };
    window.showwheel = [this](bool shown) {
        ui_.wheel->setVisible(shown);
    };
    return window;
}

MainModule::~MainModule() {
    // Before the list and the state go: the run finishes its photo in work first.
    processthread_.reset();
}

void MainModule::opening() {
    updatecounter();
    loadsettings();
    updatetimer_.stop();
    state_.isrunning = false;
    state_.boliao = true;
    // The sandboxed build keeps the plain title.
    if (!forappstore_)
        setWindowTitle(appname());
    toolbar_ = new MainToolbar(this);
    addToolBar(Qt::TopToolBarArea, toolbar_);
    connecttoolbar();
    toggletoolbar(QStringLiteral("start"), true);
    toggletoolbar(QStringLiteral("loadstart"), true);
    startengine();
}

void MainModule::updatecounter() {
    ui_.rowcounter->setText(countertext(list_->count()));
}

void MainModule::loadsettings() {
    ui_.options->applysettings(settings_.load());
}

void MainModule::savesettings() {
    settings_.save(ui_.options->settings());
}

void MainModule::toggletoolbar(const QString& identifier, bool enabled) {
    toolbar_->toggletoolbar(identifier, enabled);
}

void MainModule::connecttoolbar() {
    oncommand("loadfiles", [this] { loadfiles(); });
    oncommand("loadfolders", [this] { loadfolders(); });
    oncommand("start", [this] { startorrefuse(); });
    oncommand("loadstart", [this] { loadstart(); });
    // Clear List also serves to stop an intake that takes in more than was meant.
    oncommand(
        "clearlist", [this] { clearlist(); }, true);
}

void MainModule::oncommand(const char* identifier, const std::function<void()>& command, bool duringintake) {
    connect(toolbar_->item(QLatin1String(identifier)), &QAction::triggered, this,
            [this, command, duringintake] {
                if (!commandsclosed() || (duringintake && !state_.isrunning && !closing_))
                    command();
            });
}

bool MainModule::commandsclosed() const {
    return state_.isrunning || intake_.busy() || closing_;
}

void MainModule::loadfiles() {
    intake_.loadfiles();
}

void MainModule::loadfolders() {
    intake_.loadfolders();
}

void MainModule::removeselectedrow() {
    const QModelIndexList selected = ui_.list->selectionModel()->selectedRows();
    if (state_.isrunning || takingphotos() || recheck_ || look_ || selected.isEmpty())
        return;
    const qint64 row = selected.first().row();
    list_->removerow(row);
    if (nowrow_ == row) {
        nowrow_ = -1;
        preview_.clear();
    } else if (nowrow_ > row) {
        --nowrow_;
    }
    // The next row takes the place, so that rows can be taken off one after another.
    if (list_->count() > 0)
        ui_.list->selectRow(static_cast<int>(std::min(row, list_->count() - 1)));
    updatecounter();
}

void MainModule::takepaths(const QStringList& paths) {
    if (!closing_)
        intake_.drop(paths);
}

void MainModule::droprefused(qsizetype notjpeg, qsizetype notfile) {
    QStringList why;
    if (notjpeg > 0)
        why << QStringLiteral("%1 not a JPEG photo").arg(notjpeg);
    if (notfile > 0)
        why << QStringLiteral("%1 at or after an item that isn't a file").arg(notfile);
    const qsizetype total = notjpeg + notfile;
    ui_.note->setText(total == 0 ? QString()
                                 : QStringLiteral("%1 dropped %2 not taken: %3")
                                       .arg(total)
                                       .arg(total == 1 ? QStringLiteral("item") : QStringLiteral("items"))
                                       .arg(why.join(QStringLiteral(", "))));
}

void MainModule::Listbox1_popup(int row, QPoint at) {
    if (state_.isloading || takingphotos() || !list_->hasrow(row))
        return;
    ui_.list->selectRow(row);
    // The five of the menus, then below a separator those of the mirrored orientations.
    const int separator = static_cast<int>(menuactions);
    QStringList entries = actionlabels().mid(0, separator);
    entries << QString() << actionlabels().mid(separator);
    const std::optional<int> chosen = dialogs_.popup(ui_.list, entries, at, true);
    if (!chosen || *chosen == separator || !list_->hasrow(row))
        return;
    list_->setaction(row, allactions.at(static_cast<size_t>(*chosen < separator ? *chosen : *chosen - 1)));
}

void MainModule::Listbox1_ConstructContextualMenu(QPoint at) {
    QStringList entries;
    for (const QString& label : actionlabels().mid(0, static_cast<qsizetype>(menuactions)))
        entries << QStringLiteral("Set All to ") + label;
    entries << QStringLiteral("Set All to EXIF Orientation Check");
    // A check under way can be stopped from where it was started.
    entries << (look_ ? QStringLiteral("Stop the Picture Check")
                      : QStringLiteral("Set All to Picture Check"));
    const std::optional<int> chosen = dialogs_.popup(ui_.list, entries, at, list_->count() > 0);
    if (!chosen)
        return;
    const int actions = static_cast<int>(menuactions);
    if (*chosen < actions)
        list_->setallactions(allactions.at(static_cast<size_t>(*chosen)));
    else if (*chosen == actions)
        recheckall();
    else if (look_)
        look_->stop();
    else
        lookall();
}

void MainModule::lookall() {
    QStringList paths;
    for (qint64 r = 0; r < list_->count(); ++r)
        paths << list_->row(r).path;
    ui_.wheel->show();
    look_ = std::make_unique<LookJob>(paths);
    connect(look_.get(), &LookJob::progress, this, [this](qint64 done, qint64 total) {
        ui_.rowcounter->setText(QStringLiteral("Picture Check: %1 of %2").arg(done).arg(total));
    });
    connect(look_.get(), &LookJob::finished, this, [this, paths](const QString& unavailable) {
        const std::unique_ptr<LookJob> job = std::move(look_);
        ui_.wheel->setVisible(takingphotos() || state_.isrunning);
        updatecounter();
        if (!unavailable.isEmpty()) {
            dialogs_.tell(this, QStringLiteral("The Picture Check is unavailable: %1.").arg(unavailable));
            return;
        }
        // Rows can't be taken off during the check; rows added since keep theirs.
        const std::vector<LookVerdict>& verdicts = job->results();
        for (size_t i = 0; i < verdicts.size(); ++i) {
            const qint64 row = static_cast<qint64>(i);
            if (verdicts[i].suggests() && list_->hasrow(row) && list_->row(row).path == paths[row])
                list_->setsuggested(row, actionforturns(verdicts[i].turns), verdicts[i].cue);
        }
    });
    look_->start();
}

void MainModule::recheckall() {
    QStringList paths;
    for (qint64 r = 0; r < list_->count(); ++r)
        paths << list_->row(r).path;
    ui_.wheel->show();
    recheck_ = std::make_unique<RecheckJob>(paths);
    connect(recheck_.get(), &RecheckJob::finished, this, [this] {
        // Rows can't be taken off during the check; rows added since keep theirs.
        list_->setrechecked(recheck_->results());
        recheck_.reset();
        ui_.wheel->setVisible(takingphotos() || state_.isrunning);
    });
    recheck_->start();
}

void MainModule::loadstart() {
    // A scan cancelled (by Clear List or by closing the window) starts nothing.
    intake_.loadfolders([this] {
        if (!closing_)
            startorrefuse();
    });
}

void MainModule::startorrefuse() {
    if (list_->count() == 0) {
        dialogs_.tell(this, QStringLiteral("There is Nothing to Process"));
        state_.isrunning = false;
        return;
    }
    prepwork();
}

void MainModule::clearlist() {
    intake_.abandon();
    if (std::exchange(recheck_, nullptr))
        ui_.wheel->hide();
    if (std::exchange(look_, nullptr))
        ui_.wheel->hide();
    list_->clearlist();
    ui_.note->clear();
    nowrow_ = -1;
    preview_.clear();
    state_.isrunning = false;
    updatecounter();
}

void MainModule::prepwork() {
    ui_.options->clampquality();
    const RunOptions options = ui_.options->runoptions();
    // Stored at every try of a run, also one that finds nothing to do.
    savesettings();

    if (list_->counttodolist(options.selection()) < 1) {
        ui_.wheel->hide();
        ui_.rowcounter->setText(QStringLiteral("Nothing to Process"));
        dialogs_.tell(this, QStringLiteral("There Is Nothing to Process"));
        return;
    }
    if (forappstore_)
        grants_.whichfolderneeded(this, dialogs_, *list_);
    ui_.rowcounter->setText(QStringLiteral("Starting ..."));
    state_.xstatus = QStringLiteral("Starting ...");
    list_->makelist(options.selection());
    runrows_.clear();
    for (qint64 r = 0; r < list_->count(); ++r) {
        if (options.selection().takes(list_->row(r)))
            runrows_.push_back(r);
    }
    donecount_ = 0;
    stopped_ = false;
    state_.boliao = false;
    state_.isrunning = true;
    updatetimer_.start();
    RunPlaces places{datafolder(), toolfile()};
    if (forappstore_)
        places.sandboxfolder = grants_.sandboxfolder();
    processthread_ = std::make_unique<RunSession>(list_->filelist(), options, places);
    connect(processthread_.get(), &RunSession::photostarted, this, &MainModule::photostarted);
    // A turned photo's thumbnail is made again as soon as its row is painted.
    connect(processthread_.get(), &RunSession::photofinished, ui_.list->viewport(),
            qOverload<>(&QWidget::update));
    connect(processthread_.get(), &RunSession::photofinished, this, [this] { ++donecount_; });
    connect(processthread_.get(), &RunSession::finished, this, [this] {
        state_.isrunning = false;
        state_.boliao = true;
    });
    processthread_->start();
}

void MainModule::updatetimer_Action() {
    if (state_.isrunning)
        showprogress();
    else if (state_.boliao)
        endrun();
}

void MainModule::photostarted(qint64 index, const QString& name) {
    state_.currentrow = index;
    state_.xstatus = QStringLiteral("Rotating ") + name;
    // A photo the run finds gone is its report's to name, not the preview's.
    state_.candopreview = false;
}

void MainModule::stoprun() {
    if (!state_.isrunning || !processthread_ || closing_)
        return;
    stopped_ = true;
    processthread_->requeststop();
}

void MainModule::showprogress() {
    ui_.rowcounter->setText(state_.xstatus);
    const auto total = static_cast<qint64>(runrows_.size());
    // The program's texts are English, and so are its numbers: "12 of 1,000".
    const QLocale english(QLocale::English, QLocale::UnitedStates);
    ui_.progress->setRange(0, static_cast<int>(total));
    ui_.progress->setValue(static_cast<int>(donecount_));
    ui_.progress->setFormat(english.toString(donecount_) + QStringLiteral(" of ") + english.toString(total));
    ui_.progress->show();
    taskbar_.show(donecount_, total);
    // The worker is never held for this: a photo is replaced by a single rename, so the preview
    // reads the whole old photo or the whole new one.
    Dopreviewrow(state_.currentrow);
}

void MainModule::endrun() {
    ui_.wheel->hide();
    ui_.progress->hide();
    taskbar_.hide();
    const std::vector<PhotoReport> reports = processthread_->reports();
    // The run's rows are done with, so that a second Start finds nothing to do, save those a
    // stop kept from their turn; rows added during the run keep their actions for the next.
    std::vector<bool> ended(runrows_.size(), false);
    for (const PhotoReport& report : reports)
        ended.at(static_cast<size_t>(report.index)) = true;
    std::vector<qint64> done;
    QStringList stopped;
    for (size_t i = 0; i < runrows_.size(); ++i) {
        if (ended[i])
            done.push_back(runrows_[i]);
        else
            stopped << list_->filelist().at(i).name;
    }
    list_->setactions(Action::AsIs, done);
    ui_.rowcounter->setText(stopped.isEmpty() ? QStringLiteral("All Done") : QStringLiteral("Stopped"));
    state_.boliao = false;
    list_->resetfilelist();
    runrows_.clear();
    // Between runs the relay has nothing to do.
    updatetimer_.stop();
    processthread_.reset();
    dialogs_.tell(this, endofrunmessage(reports, stopped));
    state_.isrunning = false;
}

void MainModule::closeEvent(QCloseEvent* event) {
    // Stored before the answer, so also when the answer is "No".
    savesettings();
    const bool yes = dialogs_.ask(this, {QString(), QStringLiteral("Did You Want to Exit ?"), QString(),
                                         QStringLiteral("Yes"), QStringLiteral("No")});
    if (!yes) {
        event->ignore();
        return;
    }
    closing_ = true;
    intake_.abandon();
    updatetimer_.stop();
    // The photo in work is finished; the thread is waited for when the window goes.
    if (processthread_)
        processthread_->requeststop();
    event->accept();
}

QMenu* MainModule::createPopupMenu() {
    return nullptr;
}

bool MainModule::eventFilter(QObject* watched, QEvent* event) {
    if (watched == ui_.imagepreview && event->type() == QEvent::Resize) {
        dorefreshpage();
    } else if (watched == ui_.list->viewport() && event->type() == QEvent::MouseButtonPress) {
        const QPoint where = static_cast<QMouseEvent*>(event)->position().toPoint();
        const QModelIndex cell = ui_.list->indexAt(where);
        if (cell.isValid())
            Listbox1_CellPressed(cell.row());
    }
    return QMainWindow::eventFilter(watched, event);
}

void MainModule::Listbox1_SelectionChanged() {
    if (state_.isloading)
        return;
    const QModelIndexList selected = ui_.list->selectionModel()->selectedIndexes();
    // No row selected: the preview keeps its row and its picture.
    if (selected.isEmpty())
        return;
    nowrow_ = selected.first().row();
    Dopreviewrow(nowrow_);
}

void MainModule::Listbox1_CellPressed(qint64 row) {
    if (state_.isloading)
        return;
    state_.currentrow = row;
    state_.candopreview = true;
}

void MainModule::Dopreviewrow(qint64 row) {
    // Whatever asks while the message about a missing photo is up (the relay, a resize) waits
    // for the next time rather than stacking a second message on the first.
    if (telling_)
        return;
    // Nothing to show: the run has no photo in work yet, or the list has shrunk.
    if (!list_->hasrow(row))
        return;
    const QString path = list_->row(row).path;
    const QFileInfo item(path);
    if (!item.exists()) {
        if (state_.candopreview) {
            const QScopedValueRollback telling(telling_, true);
            dialogs_.tell(this, item.fileName() + QStringLiteral(" has been moved or deleted"));
        }
        return;
    }
    preview_.show(path);
}

void MainModule::dorefreshpage() {
    if (preview_.haspicture() && nowrow_ != -1)
        Dopreviewrow(nowrow_);
}

} // namespace pivotel
