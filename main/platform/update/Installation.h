// Where a copy of the program lies, and whether it may replace itself. A copy that was installed
// from a bundle lies like this:
//
//   PREFIX/bin/corvella     what people and sessions start; see packaging/launcher
//   PREFIX/BUILD/           one folder a build: bin, lib, share
//   PREFIX/current          a link to the build that is started; moved in one step
//   PREFIX/previous         a link to the one before it, which is kept
//   PREFIX/.new-BUILD/      a build that is being unpacked
//   PREFIX/.update/         ours alone: the download, what is remembered, and
//     trial-BUILD           a build that has not started yet; one byte for each attempt
//     failed-BUILD          a build that was put back since it did not
//
// Calls wait for the disk; any thread, one at a time. Log nothing.
#pragma once

#include "platform/storage/BuildIdentity.h"
#include "platform/storage/DurableFile.h"
#include "platform/storage/FileLock.h"

namespace corvella {

class Installation
{
public:
    enum class Kind {
        fromBundle,     // as above: it updates itself
        packageManager, // the system's, which updates it
        loose,          // a build tree, or a folder that was copied by hand
    };

    // Of the copy that an executable belongs to, by its real path.
    explicit Installation(const QString &executable);

    [[nodiscard]] Kind kind() const { return m_kind; }
    // Which build this is; none when the copy does not say.
    [[nodiscard]] const std::optional<BuildIdentity> &identity() const { return m_identity; }

    // What follows is for copies from a bundle alone.

    [[nodiscard]] QString launcher() const { return m_prefix + QStringLiteral("/bin/corvella"); }
    [[nodiscard]] QString workFolder() const { return m_prefix + QStringLiteral("/.update"); }
    [[nodiscard]] QString folderOf(qint64 build) const;
    [[nodiscard]] QString stagingFolderOf(qint64 build) const;

    // Whether this build is the one that is started. A newer one may be waiting for our end.
    [[nodiscard]] bool isCurrent() const;
    // Held by the one process that changes anything here; none when another one is at it, or with
    // errno set. Needs the work folder.
    [[nodiscard]] std::optional<FileLock> lock() const;
    // Has the work folder there. Fails where nobody but us must be able to write and others can, or
    // where we cannot.
    FileResult makeWorkFolder() const;
    // Whether a build was published to follow this one, and was not put back.
    [[nodiscard]] bool hasSuccessor() const;
    // Gives a staged build its final name, durably; an older one of that name goes.
    FileResult publish(qint64 build) const;
    // Makes another build the one that is started, on trial; ours becomes the one before it.
    FileResult switchTo(qint64 build) const;
    // This build has started: it is on trial no more. At once; clearUp() makes it last.
    void endTrial() const;
    // Removes all builds but this one, the one before it and one that was published to follow it,
    // and what failed attempts have left. Brings the launcher of this build. Flushes the trial's
    // end.
    void clearUp() const;
    // The highest build that was put back; 0 when there is none.
    [[nodiscard]] qint64 failedBuild() const;

private:
    void look();
    [[nodiscard]] QString trialOf(qint64 build) const;
    FileResult link(const QString &name, qint64 build) const;
    void refreshLauncher() const;

    Kind m_kind = Kind::loose;
    QString m_folder; // of this build
    QString m_prefix;
    std::optional<BuildIdentity> m_identity;
};

} // namespace corvella
