// A program that shows others' screen savers in the user's session: XScreenSaver, MATE's and Xfce's
// screensavers. GNOME and KDE have none of the kind. Any thread; waits for the disk alone.
#pragma once

#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace corvella {

class SaverHost
{
public:
    SaverHost() = default;
    virtual ~SaverHost() = default;
    SaverHost(const SaverHost &) = delete;
    SaverHost &operator=(const SaverHost &) = delete;

    // Enters the program at this absolute path, or the host's own engine, among the savers that the
    // user can choose, once. What the user has there stays. None when it is there, else what went
    // wrong, in words.
    [[nodiscard]] virtual std::optional<QString> enter(const QString &program) = 0;

    // Starts the host's own settings program. Returns at once.
    virtual void openSettings() = 0;

    // Those that are installed, the one of this desktop first.
    [[nodiscard]] static std::vector<std::unique_ptr<SaverHost>> all();
};

// Null where it is not installed.
[[nodiscard]] std::unique_ptr<SaverHost> createXScreenSaverHost();
// The likes of MATE's, which know savers by their desktop entries. They run none from a user's
// home, but only what lies in the folder that the system has for savers: there our packages put a
// link to the module, and null is also where there is none.
enum class EntryHost { mate, xfce };
[[nodiscard]] std::unique_ptr<SaverHost>
createEntryHost(EntryHost host,
                const QString &engine = QStringLiteral("/usr/libexec/xscreensaver/corvella-saver"));

} // namespace corvella
