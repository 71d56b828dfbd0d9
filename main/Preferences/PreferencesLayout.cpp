// How the settings window is built and laid out.
#include "Preferences/Preferences.h"

#include "Preferences/BusyIndicator.h"
#include "Preferences/CardView.h"
#include "Preferences/GroundView.h"
#include "Preferences/Note.h"
#include "Preferences/NumberField.h"
#include "Preferences/PreferencesWindow.h"
#include "Preferences/PushButton.h"
#include "Preferences/SaverBundle.h"
#include "Preferences/ScreensGrid.h"
#include "Preferences/SegmentedControl.h"
#include "Preferences/Stepper.h"
#include "Preferences/TabStop.h"
#include "settings/Mode.h"
#include "settings/Transition.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>

#include <algorithm>

namespace corvella {

namespace {

// All in points.
constexpr QMargins kRootInsets{24, 20, 24, 20};
constexpr int kRootSpacing = 18;
constexpr int kColumnsSpacing = 28;
constexpr int kCardsSpacing = 14;
constexpr int kRowSpacing = 6;
constexpr int kLeftColumn = 400;
constexpr int kRightColumn = 340;

constexpr int kLongestIdleStep = 120; // minutes
constexpr int kMostLoopsStep = 20;
constexpr double kOnceADay = 1440; // minutes
constexpr double kTwiceADay = 720;

// The line of a note that would like this width, on a card of a column.
constexpr int lineOn(int column, int preferred)
{
    return std::min(preferred, column - CardView::kInsets.left() - CardView::kInsets.right());
}

QHBoxLayout *plainRow(QWidget *parent, int spacing)
{
    auto *row = new QHBoxLayout(parent);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(spacing);
    return row;
}

QVBoxLayout *plainStack(QWidget *parent, int spacing)
{
    auto *stack = new QVBoxLayout(parent);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(spacing);
    return stack;
}

QWidget *row(const QWidgetList &widgets)
{
    auto *row = new QWidget;
    QHBoxLayout *const layout = plainRow(row, kRowSpacing);
    for (QWidget *widget : widgets)
        layout->addWidget(widget);
    return row;
}

QWidget *column(int width, const QWidgetList &cards)
{
    auto *column = new QWidget;
    column->setMinimumWidth(width);
    QVBoxLayout *const stack = plainStack(column, kCardsSpacing);
    for (QWidget *card : cards)
        stack->addWidget(card);
    return column;
}

// A control's words beside it.
QLabel *caption(const QString &text, QWidget *control)
{
    auto *label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setBuddy(control); // for screen readers
    return label;
}

Note *note(int lineWidth, const QString &text = {}, Note::Size size = Note::Size::ordinary)
{
    auto *note = new Note(Tone::secondary, lineWidth, size);
    note->setText(text);
    return note;
}

QStringList modeLabels()
{
    QStringList labels;
    for (const Mode mode : kModeSegments)
        labels << label(mode);
    return labels;
}

// Known by their names, to tests and to style sheets of the user's.
void name(std::initializer_list<std::pair<QWidget *, const char *>> widgets)
{
    for (const auto &[widget, name] : widgets)
        widget->setObjectName(QLatin1String(name));
}

} // namespace

void Preferences::createControls()
{
    m_mode = new SegmentedControl(QStringLiteral("Mode"), modeLabels());
    m_modeHelp = note(700);
    m_screensGrid = new ScreensGrid;
    m_screensHint =
        note(lineOn(kLeftColumn, 400),
             QStringLiteral("Tick the products each screen shows, in play order. Nothing ticked "
                            "means all of them; Off leaves that screen alone."));

    m_shuffleBox = new QCheckBox(QStringLiteral("Play products in random order"));
    m_loopsField = new NumberField(QStringLiteral("1"));
    m_loopsField->setAccessibleName(QStringLiteral("Loops per clip"));
    m_loopsStepper = new Stepper(1, kMostLoopsStep);
    m_loopsStepper->setAccessibleName(QStringLiteral("Loops per clip"));
    m_transitionPopup = new QComboBox;
    m_transitionPopup->setAccessibleDescription(QStringLiteral("Transition between clips"));
    for (const Transition transition : kAllTransitions)
        m_transitionPopup->addItem(label(transition), rawValue(transition));
    m_desktopBox = new QCheckBox(QStringLiteral("Set the desktop picture to the latest still"));
    m_desktopNow = new PushButton(QStringLiteral("Update now"));
    m_desktopNote =
        note(lineOn(kLeftColumn, 400),
             QStringLiteral("Rotates through each screen's ticked products, one step per update. "
                            "Your previous picture comes back when this is off."));

    m_loginBox = new QCheckBox(QStringLiteral("Open Corvella at login"));
    m_attributionBox = new QCheckBox;
    m_presetNote = note(lineOn(kRightColumn, 300), {}, Note::Size::small);
    m_idleField = new NumberField(QStringLiteral("5"));
    m_idleField->setAccessibleName(QStringLiteral("Start after minutes without input"));
    m_idleStepper = new Stepper(1, kLongestIdleStep);
    m_idleStepper->setAccessibleName(QStringLiteral("Start after minutes without input"));
    m_lockBox = new QCheckBox(QStringLiteral("Lock the Mac when dismissed"));
    m_lockNote = note(0, {}, Note::Size::small);
    m_armNote = note(lineOn(kRightColumn, 700), {}, Note::Size::small);
    m_network = new QButtonGroup(m_window.get());
    m_onlineRadio = new QRadioButton(QStringLiteral("Keep imagery updated"));
    m_offlineRadio = new QRadioButton(QStringLiteral("Offline: never use the network"));
    m_refreshPopup = new QComboBox;
    m_refreshPopup->setAccessibleDescription(QStringLiteral("How often imagery is updated"));
    m_refreshPopup->addItem(QStringLiteral("once a day"), kOnceADay);
    m_refreshPopup->addItem(QStringLiteral("twice a day"), kTwiceADay);
    m_primeButton = new PushButton(QStringLiteral("Download all imagery now"));
    m_cacheStatus = note(lineOn(kRightColumn, 340));
    m_saverSection = new QWidget;
    m_installButton = new PushButton(QStringLiteral("Add to System Settings…"));
    m_installNote = note(
        lineOn(kRightColumn, 340),
        QStringLiteral("Adds Corvella to the screen savers in System Settings. One screen only on "
                       "recent macOS; Screen Saver mode here covers them all."));

    m_quitButton = new PushButton(QStringLiteral("Turn Off and Quit"));
    m_quitButton->setToolTip(
        QStringLiteral("Put the desktop picture back, stop opening at login, and quit."));
    m_versionLabel = new Note(Tone::tertiary, 0, Note::Size::small);
    m_busy = new BusyIndicator;
    m_busy->setAccessibleName(QStringLiteral("Working"));
    m_armButton = new PushButton(QStringLiteral("Arm"));
    m_startButton = new PushButton(QStringLiteral("Start"));

    m_network->addButton(m_onlineRadio);
    m_network->addButton(m_offlineRadio);
    letTabReachTheChosen(*m_network);
    name({{m_mode, "mode"},
          {m_modeHelp, "modeHelp"},
          {m_screensGrid, "screensGrid"},
          {m_screensHint, "screensHint"},
          {m_shuffleBox, "shuffleBox"},
          {m_loopsField, "loopsField"},
          {m_loopsStepper, "loopsStepper"},
          {m_transitionPopup, "transitionPopup"},
          {m_desktopBox, "desktopBox"},
          {m_desktopNow, "desktopNow"},
          {m_desktopNote, "desktopNote"},
          {m_loginBox, "loginBox"},
          {m_attributionBox, "attributionBox"},
          {m_presetNote, "presetNote"},
          {m_idleField, "idleField"},
          {m_idleStepper, "idleStepper"},
          {m_lockBox, "lockBox"},
          {m_lockNote, "lockNote"},
          {m_armNote, "armNote"},
          {m_onlineRadio, "onlineRadio"},
          {m_offlineRadio, "offlineRadio"},
          {m_refreshPopup, "refreshPopup"},
          {m_primeButton, "primeButton"},
          {m_cacheStatus, "cacheStatus"},
          {m_saverSection, "saverSection"},
          {m_installButton, "installButton"},
          {m_installNote, "installNote"},
          {m_quitButton, "quitButton"},
          {m_versionLabel, "versionLabel"},
          {m_busy, "busy"},
          {m_armButton, "armButton"},
          {m_startButton, "startButton"}});
}

void Preferences::layout()
{
    auto *ground = new GroundView;
    ground->setAccessibleName(QStringLiteral("Corvella"));
    QVBoxLayout *const root = plainStack(ground, kRootSpacing);
    root->setContentsMargins(kRootInsets);
    root->addWidget(modeCard());
    QHBoxLayout *const columns = plainRow(nullptr, kColumnsSpacing);
    columns->addWidget(leftColumn(), 0, Qt::AlignTop);
    columns->addWidget(rightColumn(), 0, Qt::AlignTop);
    root->addLayout(columns);
    root->addWidget(bottomBar());
    m_window = std::make_unique<PreferencesWindow>(ground);
    m_startButton->setDefault(true); // of the window, which it has only now
}

QWidget *Preferences::modeCard()
{
    return new CardView(QStringLiteral("Mode"), {m_mode, m_modeHelp});
}

QWidget *Preferences::leftColumn()
{
    auto *screens = new CardView(QStringLiteral("Screens"), {m_screensGrid, m_screensHint});
    auto *playback =
        new CardView(QStringLiteral("Playback"),
                     {m_shuffleBox,
                      row({caption(QStringLiteral("Loops per clip"), m_loopsField), m_loopsField,
                           m_loopsStepper}),
                      row({caption(QStringLiteral("Transition between clips"), m_transitionPopup),
                           m_transitionPopup})});
    auto *desktop = new CardView(QStringLiteral("Desktop picture"),
                                 {row({m_desktopBox, m_desktopNow}), m_desktopNote});
    return column(kLeftColumn, {screens, playback, desktop});
}

QWidget *Preferences::rightColumn()
{
    m_idleRow = row({caption(QStringLiteral("Start after"), m_idleField), m_idleField,
                     m_idleStepper, caption(QStringLiteral("minutes without input"), nullptr)});
    QWidgetList cards{
        new CardView(QStringLiteral("General"), {m_loginBox, m_attributionBox, m_presetNote}),
        new CardView(QStringLiteral("Starting"), {m_idleRow, m_lockBox, m_lockNote, m_armNote}),
        new CardView(
            QStringLiteral("Imagery"),
            {row({m_onlineRadio, m_refreshPopup}), m_offlineRadio, m_primeButton, m_cacheStatus})};
    QVBoxLayout *const section = plainStack(m_saverSection, kRowSpacing);
    section->addWidget(m_installButton, 0, Qt::AlignLeading);
    section->addWidget(m_installNote, 0, Qt::AlignLeading);
    auto *saver = new CardView(QStringLiteral("System screen saver"), {m_saverSection});
    saver->setVisible(bundledSaver().has_value());
    return column(kRightColumn, cards << saver);
}

QWidget *Preferences::bottomBar()
{
    auto *bar = new QWidget;
    QHBoxLayout *const layout = plainRow(bar, kRowSpacing);
    layout->addWidget(m_quitButton);
    layout->addWidget(m_versionLabel);
    layout->addStretch();
    layout->addWidget(m_busy);
    layout->addWidget(m_armButton);
    layout->addWidget(m_startButton);
    return bar;
}

// Boxes and steppers tell by what they show, not by clicks: screen readers change them without one.
void Preferences::connectControls()
{
    connect(m_mode, &SegmentedControl::chosen, this, &Preferences::modeChanged);
    connect(m_screensGrid, &ScreensGrid::chosen, this, &Preferences::save);
    connect(m_idleStepper, &QSpinBox::valueChanged, this, &Preferences::idleStepped);
    connect(m_idleField, &NumberField::typed, this, &Preferences::idleTyped);
    connect(m_loopsStepper, &QSpinBox::valueChanged, this, &Preferences::loopsStepped);
    connect(m_loopsField, &NumberField::typed, this, &Preferences::loopsTyped);
    for (const QCheckBox *box : {m_shuffleBox, m_attributionBox, m_lockBox})
        connect(box, &QCheckBox::toggled, this, &Preferences::save);
    for (const QComboBox *popup : {m_transitionPopup, m_refreshPopup})
        connect(popup, &QComboBox::activated, this, &Preferences::save);
    connect(m_loginBox, &QCheckBox::toggled, this, &Preferences::loginToggled);
    connect(m_desktopBox, &QCheckBox::toggled, this, &Preferences::desktopToggled);
    connect(m_offlineRadio, &QRadioButton::toggled, this, &Preferences::networkChanged);
    const std::initializer_list<std::pair<QPushButton *, void (Preferences::*)()>> actions{
        {m_desktopNow, &Preferences::desktopUpdateNow},
        {m_primeButton, &Preferences::prime},
        {m_startButton, &Preferences::start},
        {m_armButton, &Preferences::arm},
        {m_quitButton, &Preferences::deactivate},
        {m_installButton, &Preferences::installSaver}};
    for (const auto &[button, action] : actions)
        connect(button, &QPushButton::clicked, this, action);
    connect(m_window.get(), &PreferencesWindow::left, this, &Preferences::finishTyping);
}

} // namespace corvella
