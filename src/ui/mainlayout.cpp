#include "ui/mainlayout.h"

#include "photolist/photolistmodel.h"
#include "ui/optionspanel.h"
#include "ui/photolistview.h"
#include "ui/progresswheel.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMainWindow>
#include <QProgressBar>
#include <QSplitter>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

namespace pivotel {

namespace {

// The list's frame is never narrower than this, so the name column keeps room beside the
// label and thumbnail columns; the right side never narrower than the preview and options.
constexpr int listsidewidth = 480;
constexpr int rightsidewidth = 349;
constexpr int optionsheight = 168;
constexpr int rowheight = 62; // room for a thumbnail

QFrame* frame(QWidget* parent, const char* name) {
    auto* box = new QFrame(parent);
    box->setObjectName(QLatin1String(name));
    box->setFrameShape(QFrame::StyledPanel);
    box->setFrameShadow(QFrame::Plain);
    return box;
}

QFont pixelfont(const QWidget* widget, int pixels, bool bold) {
    QFont font = widget->font();
    font.setPixelSize(pixels);
    font.setBold(bold);
    return font;
}

PhotoListView* makelist(QWidget* parent, QAbstractItemModel& model) {
    auto* list = new PhotoListView(parent);
    list->setObjectName(QStringLiteral("Listbox1"));
    list->setModel(&model);
    list->setFont(pixelfont(list, 14, false));
    list->setSelectionMode(QAbstractItemView::SingleSelection);
    list->setSelectionBehavior(QAbstractItemView::SelectRows);
    list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list->setAccessibleName(QStringLiteral("Photo list"));
    list->setAccessibleDescription(
        QStringLiteral("Space or Enter chooses a row's action; Delete takes the row off"));
    list->setShowGrid(false);
    list->setWordWrap(false);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    list->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    list->verticalHeader()->hide();
    list->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    list->verticalHeader()->setDefaultSectionSize(rowheight);

    QHeaderView* header = list->horizontalHeader();
    header->setSectionsMovable(false);
    header->setHighlightSections(false);
    header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header->setSectionResizeMode(PhotoListModel::NameColumn, QHeaderView::Fixed); // fitted by the view
    header->setSectionResizeMode(PhotoListModel::LabelColumn, QHeaderView::Fixed);
    header->resizeSection(PhotoListModel::LabelColumn, 230);
    header->setSectionResizeMode(PhotoListModel::ThumbnailColumn, QHeaderView::Fixed);
    header->resizeSection(PhotoListModel::ThumbnailColumn, 80);
    // The path is each row's identity, never shown.
    list->hideColumn(PhotoListModel::PathColumn);
    return list;
}

} // namespace

MainLayout MainLayout::build(QMainWindow& window, QAbstractItemModel& model) {
    MainLayout ui;
    auto* central = new QWidget(&window);
    central->setObjectName(QStringLiteral("centralarea"));
    central->setMinimumSize(minimumwidth, minimumheight);

    ui.splitter = new QSplitter(Qt::Horizontal, central);
    ui.splitter->setObjectName(QStringLiteral("WindowSplitter1"));
    ui.splitter->setChildrenCollapsible(false);
    ui.splitter->setHandleWidth(8);

    // Left: the list, and under it the count line and the busy wheel.
    ui.listframe = frame(ui.splitter, "RoundRectangleMBS1");
    ui.listframe->setMinimumWidth(listsidewidth);
    ui.list = makelist(ui.listframe, model);
    ui.rowcounter = new QLabel(QStringLiteral("Untitled"), ui.listframe);
    ui.rowcounter->setObjectName(QStringLiteral("rowcounter"));
    ui.rowcounter->setFont(pixelfont(ui.rowcounter, 12, true));
    ui.wheel = new ProgressWheel(ui.listframe);
    ui.wheel->setObjectName(QStringLiteral("ProgressWheel1"));
    ui.wheel->hide();
    // How far a run is, "12 of 1,000", beside the status text; shown during runs only.
    ui.progress = new QProgressBar(ui.listframe);
    ui.progress->setObjectName(QStringLiteral("runprogress"));
    ui.progress->setAccessibleName(QStringLiteral("Progress of the run"));
    ui.progress->setFont(pixelfont(ui.progress, 12, false));
    ui.progress->setFixedWidth(160);
    ui.progress->hide();
    ui.note = new QLabel(ui.listframe);
    ui.note->setObjectName(QStringLiteral("statusnote"));
    ui.note->setFont(pixelfont(ui.note, 12, false));

    auto* status = new QHBoxLayout;
    status->setContentsMargins(0, 0, 0, 0);
    status->addWidget(ui.rowcounter, 1);
    status->addWidget(ui.note);
    status->addWidget(ui.progress);
    status->addWidget(ui.wheel);
    auto* left = new QVBoxLayout(ui.listframe);
    left->setContentsMargins(6, 6, 6, 4);
    left->setSpacing(4);
    left->addWidget(ui.list, 1);
    left->addLayout(status);

    // Right: the preview over the options.
    auto* right = new QWidget(ui.splitter);
    right->setObjectName(QStringLiteral("rightside"));

    ui.previewframe = frame(right, "RoundRectangleMBS2");
    // The right side is as wide as this or as the options need, whichever is more.
    ui.previewframe->setMinimumWidth(rightsidewidth);
    ui.imagepreview = new QLabel(ui.previewframe);
    ui.imagepreview->setObjectName(QStringLiteral("imagepreview"));
    ui.imagepreview->setAlignment(Qt::AlignCenter);
    // A stop of its own for the keyboard, so that a screen reader names the photo on show.
    ui.imagepreview->setFocusPolicy(Qt::StrongFocus);
    ui.imagepreview->setAccessibleName(QStringLiteral("Preview"));
    // A picture on show must not hold the frame open: the frame decides the viewer's size.
    ui.imagepreview->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    auto* preview = new QVBoxLayout(ui.previewframe);
    preview->setContentsMargins(1, 1, 1, 1);
    preview->addWidget(ui.imagepreview);

    ui.optionsframe = frame(right, "RoundRectangleMBS3");
    ui.optionsframe->setMinimumHeight(optionsheight);
    ui.tabs = new QTabWidget(ui.optionsframe);
    ui.tabs->setObjectName(QStringLiteral("TabPanel1"));
    ui.tabs->setAccessibleName(QStringLiteral("Options"));
    ui.tabs->tabBar()->setFont(pixelfont(ui.tabs, 14, false));
    ui.options = new OptionsPanel(ui.tabs);
    ui.tabs->addTab(ui.options, QStringLiteral("Preferences"));
    auto* options = new QVBoxLayout(ui.optionsframe);
    options->setContentsMargins(4, 4, 4, 4);
    options->addWidget(ui.tabs);

    auto* rightcolumn = new QVBoxLayout(right);
    rightcolumn->setContentsMargins(0, 0, 0, 0);
    rightcolumn->setSpacing(4);
    rightcolumn->addWidget(ui.previewframe, 1);
    rightcolumn->addWidget(ui.optionsframe, 0);

    ui.splitter->addWidget(ui.listframe);
    ui.splitter->addWidget(right);
    ui.splitter->setStretchFactor(0, 1);
    ui.splitter->setStretchFactor(1, 0);
    ui.splitter->setSizes({minimumwidth - rightsidewidth, rightsidewidth});

    auto* outer = new QHBoxLayout(central);
    outer->setContentsMargins(4, 3, 5, 5);
    outer->addWidget(ui.splitter);
    window.setCentralWidget(central);
    return ui;
}

} // namespace pivotel
