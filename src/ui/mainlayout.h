#pragma once

class QAbstractItemModel;
class QFrame;
class QLabel;
class QMainWindow;
class QProgressBar;
class QSplitter;
class QTabWidget;

namespace pivotel {

class OptionsPanel;
class PhotoListView;
class ProgressWheel;

// The controls of the main window and where they stand: the list's frame on the left, the
// preview's frame at the top right, the options at the bottom right, a splitter between left
// and right. The list side takes what the window grows by; the right side keeps its width, and
// of it the preview takes the extra height. Each control carries its layout name as its
// object name.
struct MainLayout {
    QSplitter* splitter = nullptr;    // WindowSplitter1
    QFrame* listframe = nullptr;      // RoundRectangleMBS1
    PhotoListView* list = nullptr;    // Listbox1
    QLabel* rowcounter = nullptr;     // the count and status line
    ProgressWheel* wheel = nullptr;   // ProgressWheel1
    QProgressBar* progress = nullptr; // a run's "12 of 1,000"
    QLabel* note = nullptr;           // what a drop left out, and why
    QFrame* previewframe = nullptr;   // RoundRectangleMBS2
    QLabel* imagepreview = nullptr;   // the preview's viewer
    QFrame* optionsframe = nullptr;   // RoundRectangleMBS3
    QTabWidget* tabs = nullptr;       // TabPanel1
    OptionsPanel* options = nullptr;  // its "Preferences" tab

    // Makes the controls as the central part of `window`, with `model` behind the list.
    static MainLayout build(QMainWindow& window, QAbstractItemModel& model);
};

// The smallest the window's working area gets, which is also its size when it opens.
inline constexpr int minimumwidth = 912;
inline constexpr int minimumheight = 549;

} // namespace pivotel
