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
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>

#include <algorithm>
#include <tuple>
#include <utility>

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

QWidget *column(const QWidgetList &cards)
{
    auto *column = new QWidget;
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

QStringList modeLabels()
{
    QStringList labels;
    for (const Mode mode : kModeSegments)
        labels << label(mode);
    return labels;
}

// Known by its name, to tests and to style sheets of the user's.
template <typename Widget> Widget *named(const char *name, Widget *widget)
{
    widget->setObjectName(QLatin1String(name));
    return widget;
}

Note *note(const char *name, int lineWidth, const QString &text = {},
           Note::Size size = Note::Size::ordinary)
{
    auto *note = named(name, new Note(Tone::secondary, lineWidth, size));
    note->setText(text);
    return note;
}

QCheckBox *checkBox(const char *name, const QString &text = {})
{
    return named(name, new QCheckBox(text));
}

QPushButton *button(const char *name, const QString &text)
{
    return named(name, new PushButton(text));
}

// A field and a stepper for one number.
std::pair<NumberField *, Stepper *> numberControls(const char *fieldName, const char *stepperName,
                                                   const QString &accessibleName, int first,
                                                   int longestStep)
{
    auto *field = named(fieldName, new NumberField(QString::number(first)));
    field->setAccessibleName(accessibleName);
    auto *stepper = named(stepperName, new Stepper(1, longestStep));
    stepper->setAccessibleName(accessibleName);
    return {field, stepper};
}

} // namespace

void Preferences::layout()
{
    auto *ground = new GroundView;
    ground->setAccessibleName(QStringLiteral("Corvella"));
    QVBoxLayout *const root = plainStack(ground, kRootSpacing);
    root->setContentsMargins(kRootInsets - QMargins(0, 0, 0, kRootInsets.bottom()));
    root->addWidget(modeCard());
    auto *const columns = new QGridLayout;
    columns->setHorizontalSpacing(kColumnsSpacing);
    // Of the grid and not of its widgets: a widget's own would hide how much its content needs.
    columns->setColumnMinimumWidth(0, kLeftColumn);
    columns->setColumnMinimumWidth(1, kRightColumn);
    columns->addWidget(column({screensCard(), playbackCard(), desktopCard()}), 0, 0, Qt::AlignTop);
    columns->addWidget(column({generalCard(), startingCard(), imageryCard(), saverCard()}), 0, 1,
                       Qt::AlignTop);
    root->addLayout(columns);
    root->addStretch(); // on a window that stays as it is, nothing is drawn out
    m_window = std::make_unique<PreferencesWindow>(ground, bottomBar());
    m_startButton->setDefault(true); // of the window, which it has only now
}

QWidget *Preferences::modeCard()
{
    m_mode = named("mode", new SegmentedControl(QStringLiteral("Mode"), modeLabels()));
    m_modeHelp = note("modeHelp", 700);
    return new CardView(QStringLiteral("Mode"), {m_mode, m_modeHelp});
}

QWidget *Preferences::screensCard()
{
    m_screensGrid = named("screensGrid", new ScreensGrid);
    QWidget *const hint =
        note("screensHint", lineOn(kLeftColumn, 400),
             QStringLiteral("Tick the products each screen shows, in play order. Nothing ticked "
                            "means all of them; Off leaves that screen alone."));
    return new CardView(QStringLiteral("Screens"), {m_screensGrid, hint});
}

QWidget *Preferences::playbackCard()
{
    const QString loops = QStringLiteral("Loops per clip");
    const QString transition = QStringLiteral("Transition between clips");
    m_shuffleBox = checkBox("shuffleBox", QStringLiteral("Play products in random order"));
    std::tie(m_loopsField, m_loopsStepper) =
        numberControls("loopsField", "loopsStepper", loops, 1, kMostLoopsStep);
    m_transitionPopup = named("transitionPopup", new QComboBox);
    m_transitionPopup->setAccessibleDescription(transition);
    for (const Transition each : kAllTransitions)
        m_transitionPopup->addItem(label(each), rawValue(each));
    return new CardView(QStringLiteral("Playback"),
                        {m_shuffleBox,
                         row({caption(loops, m_loopsField), m_loopsField, m_loopsStepper}),
                         row({caption(transition, m_transitionPopup), m_transitionPopup})});
}

QWidget *Preferences::desktopCard()
{
    m_desktopBox =
        checkBox("desktopBox", QStringLiteral("Set the desktop picture to the latest still"));
    m_desktopNow = button("desktopNow", QStringLiteral("Update now"));
    QWidget *const rotation =
        note("desktopNote", lineOn(kLeftColumn, 400),
             QStringLiteral("Rotates through each screen's ticked products, one step per update. "
                            "Your previous picture comes back when this is off."));
    return new CardView(QStringLiteral("Desktop picture"),
                        {row({m_desktopBox, m_desktopNow}), rotation});
}

QWidget *Preferences::generalCard()
{
    m_loginBox = checkBox("loginBox", QStringLiteral("Open Corvella at login"));
    m_attributionBox = checkBox("attributionBox"); // load() knows the host that it speaks of
    m_presetNote = note("presetNote", lineOn(kRightColumn, 300), {}, Note::Size::small);
    return new CardView(QStringLiteral("General"), {m_loginBox, m_attributionBox, m_presetNote});
}

QWidget *Preferences::startingCard()
{
    std::tie(m_idleField, m_idleStepper) =
        numberControls("idleField", "idleStepper",
                       QStringLiteral("Start after minutes without input"), 5, kLongestIdleStep);
    m_idleRow = row({caption(QStringLiteral("Start after"), m_idleField), m_idleField,
                     m_idleStepper, caption(QStringLiteral("minutes without input"), nullptr)});
    m_lockBox = checkBox("lockBox", QStringLiteral("Lock the Mac when dismissed"));
    m_lockNote = note("lockNote", 0, {}, Note::Size::small);
    m_armNote = note("armNote", lineOn(kRightColumn, 700), {}, Note::Size::small);
    return new CardView(QStringLiteral("Starting"), {m_idleRow, m_lockBox, m_lockNote, m_armNote});
}

QWidget *Preferences::imageryCard()
{
    m_onlineRadio = named("onlineRadio", new QRadioButton(QStringLiteral("Keep imagery updated")));
    m_offlineRadio =
        named("offlineRadio", new QRadioButton(QStringLiteral("Offline: never use the network")));
    m_refreshPopup = named("refreshPopup", new QComboBox);
    m_refreshPopup->setAccessibleDescription(QStringLiteral("How often imagery is updated"));
    m_refreshPopup->addItem(QStringLiteral("once a day"), kOnceADay);
    m_refreshPopup->addItem(QStringLiteral("twice a day"), kTwiceADay);
    m_primeButton = button("primeButton", QStringLiteral("Download all imagery now"));
    m_cacheStatus = note("cacheStatus", lineOn(kRightColumn, 340));
    auto *card = new CardView(
        QStringLiteral("Imagery"),
        {row({m_onlineRadio, m_refreshPopup}), m_offlineRadio, m_primeButton, m_cacheStatus});
    auto *network = new QButtonGroup(card);
    network->addButton(m_onlineRadio);
    network->addButton(m_offlineRadio);
    letTabReachTheChosen(*network);
    return card;
}

QWidget *Preferences::saverCard()
{
    m_installButton = button("installButton", QStringLiteral("Add to System Settings…"));
    m_installNote = note(
        "installNote", lineOn(kRightColumn, 340),
        QStringLiteral("Adds Corvella to the screen savers in System Settings. One screen only on "
                       "recent macOS; Screen Saver mode here covers them all."));
    m_saverSection = named("saverSection", new QWidget);
    QVBoxLayout *const section = plainStack(m_saverSection, kRowSpacing);
    section->addWidget(m_installButton, 0, Qt::AlignLeading);
    section->addWidget(m_installNote);
    auto *card = new CardView(QStringLiteral("System screen saver"), {m_saverSection});
    if (!bundledSaver())
        card->hide(); // and never show: it would be a window until its column has it
    return card;
}

QWidget *Preferences::bottomBar()
{
    m_quitButton = button("quitButton", QStringLiteral("Turn Off and Quit"));
    m_quitButton->setToolTip(
        QStringLiteral("Put the desktop picture back, stop opening at login, and quit."));
    m_versionLabel = named("versionLabel", new Note(Tone::tertiary, 0, Note::Size::small));
    m_busy = named("busy", new BusyIndicator);
    m_busy->setAccessibleName(QStringLiteral("Working"));
    m_armButton = button("armButton", QStringLiteral("Arm"));
    m_startButton = button("startButton", QStringLiteral("Start"));

    auto *bar = new GroundView;
    QHBoxLayout *const layout = plainRow(bar, kRowSpacing);
    layout->setContentsMargins(kRootInsets + QMargins(0, kRootSpacing - kRootInsets.top(), 0, 0));
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
    for (QWidget *control : std::initializer_list<QWidget *>{m_transitionPopup, m_refreshPopup,
                                                             m_idleStepper, m_loopsStepper})
        m_window->leaveWheelAlone(*control);
    connect(m_window.get(), &PreferencesWindow::left, this, &Preferences::finishTyping);
}

} // namespace corvella
