// Runs a program on a machine that differs from this one in parts: the differences are mounted in a
// namespace that the program alone sees. An ordinary user needs a kernel that lets him make one.
#pragma once

#include "support/ChildProcess.h"

#include <QTemporaryDir>

namespace corvella::test {

class AlteredMachine
{
public:
    // The journal's socket is the one in this folder.
    void setJournal(const QString &folder) { m_journal = folder; }
    // There are no devices but the few that every program needs: no graphics, no framebuffer.
    void removeDevices() { m_hasDevices = false; }
    // There are no devices but those, and one that says there is a graphics processor.
    void pretendGraphicsProcessor()
    {
        m_hasDevices = false;
        m_pretendsGraphics = true;
    }
    // Nothing is in this folder, of which there is one at most.
    void emptyFolder(const QString &path) { m_emptyFolder = path; }
    // Nobody, not even root, can write below this folder, of which there is one at most.
    void makeReadOnly(const QString &path) { m_readOnlyFolder = path; }
    // No network answers; sockets that are files still do.
    void removeNetwork() { m_hasNetwork = false; }

    // The command that runs a command there. Its process is the program's own.
    [[nodiscard]] Command around(const Command &command) const;

private:
    [[nodiscard]] QString script() const;

    QString m_journal;
    QString m_emptyFolder;
    QString m_readOnlyFolder;
    bool m_hasDevices = true;
    bool m_pretendsGraphics = false;
    bool m_hasNetwork = true;
    QTemporaryDir m_folder; // to build in
};

} // namespace corvella::test
