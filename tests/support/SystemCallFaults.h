// Makes one system call of a program fail, whichever library it comes from, and counts how many
// there are to fail. Main thread only; what it does on a thread of its own is its own affair.
#pragma once

#include "platform/storage/FileDescriptor.h"

#include <QList>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

struct seccomp_notif;

namespace corvella::test {

class ProgramUnderTest;

// A way in which a system call can fail on a machine that is in trouble.
struct SystemCallFault
{
    // Which of the calls of that number it is about.
    enum class About { anything, files, filesAndStacks, duplicates, confinement };

    const char *name; // of the call, with the error
    int call;
    int error;
    About about = About::anything;
};

// One of the calls of a program that fails.
struct FailingCall
{
    SystemCallFault fault;
    int at; // the first call of that number is 1

    [[nodiscard]] std::string text() const;
};

class SystemCallFaults
{
public:
    SystemCallFaults();
    ~SystemCallFaults();
    SystemCallFaults(const SystemCallFaults &) = delete;
    SystemCallFaults &operator=(const SystemCallFaults &) = delete;

    // Lets the next starts of the program count all calls that could fail.
    void count(ProgramUnderTest &program);
    // Lets this one fail from then on.
    void fail(ProgramUnderTest &program, const FailingCall &call);
    // Leaves the program alone from then on.
    static void leave(ProgramUnderTest &program);

    // Whether the call that was to fail was made since.
    [[nodiscard]] bool hasFailed() const;
    // All that there is to fail by what was counted.
    [[nodiscard]] QList<FailingCall> counted() const;

private:
    void watch(ProgramUnderTest &program, const QString &calls);
    void supervise();
    void welcome();
    void answer(int listener);
    [[nodiscard]] int judge(const seccomp_notif &request);

    QTemporaryDir m_folder;
    FileDescriptor m_socket;
    FileDescriptor m_stop;
    std::vector<FileDescriptor> m_listeners; // of the thread below alone
    mutable std::mutex m_mutex;
    std::map<const char *, int> m_counts; // guarded by m_mutex: by a fault's name
    std::optional<FailingCall> m_failing; // guarded by m_mutex
    bool m_hasFailed = false;             // guarded by m_mutex
    std::thread m_supervisor;             // the last: it uses the others
};

// Which calls fail: those whose name begins like that, at most so many of them, taken from the
// whole length of an attempt.
struct FaultChoice
{
    int most;
    const char *name = "";
};

// What judge() is told of an attempt in which nothing failed: the first one, and each that makes
// fewer calls than that did.
inline constexpr const char *kUndisturbed = "undisturbed";

// Lets each call that an attempt makes and that is chosen fail, one in each attempt. An attempt
// starts the program and waits until it is through; judge() looks at what is left, puts it back,
// and says in a word or two what came of it. Prints how often each of that came.
void failEachCall(ProgramUnderTest &program, const FaultChoice &choice,
                  const std::function<void()> &attempt,
                  const std::function<std::string(const std::string &when)> &judge);

// Whether a line is among these that a run without faults does not write.
[[nodiscard]] bool saysMoreThan(const QStringList &usual, const QStringList &lines);

} // namespace corvella::test
