// Kills "kelvane" with SIGKILL at many moments of a save of a 100,000-entry Files List and
// checks, after each kill, that the list is the old one or the new one, whole; that the
// backup is what the backup rule allows at that moment; and that the next save leaves no
// temporary file behind.
#include "support/TestBoard.h"

#ifdef __linux__
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <random>
#include <signal.h>
#include <spawn.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#endif

namespace Kelvane::Testing {
namespace {

#ifdef __linux__

using Clock = std::chrono::steady_clock;

constexpr int Entries = 100000;
#ifdef KELVANE_SANITIZED
// Under the sanitizers each start of kelvane on this list takes seconds: fewer kills, each
// checked in full; the plain build samples the save a hundred times.
constexpr int Kills = 20;
#else
constexpr int Kills = 100;
#endif
const std::string OlderBackup = "the backup before this save\r\n";

std::string bigList()
{
    std::mt19937 random(20261123);
    std::string list;
    char line[128];
    for (int i = 0; i < Entries; ++i) {
        const auto next = [&](unsigned range) { return static_cast<unsigned>(random() % range); };
        std::snprintf(line, sizeof line, "F%07d.ZIP%9u %02u-%02u-9%u A file of the bench, number %-17d\r\n", i,
                      next(5000000), 1 + next(12), 1 + next(28), next(10), i);
        list += line;
        if (i % 3 == 0)
            list += "                               Uploaded By: Somebody                        \r\n";
    }
    return list;
}

// The events of the list's directory that mark the save: its temporary created, the
// new list renamed into place.
class SaveWatch
{
public:
    explicit SaveWatch(const fs::path& directory)
        : m_descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        inotify_add_watch(m_descriptor, directory.c_str(), IN_CREATE | IN_MOVED_TO);
    }
    ~SaveWatch() { ::close(m_descriptor); }

    enum class Seen { Nothing, Temporary, ListPlaced };

    // Waits up to timeout for the next marking event.
    Seen next(std::chrono::milliseconds timeout)
    {
        const Clock::time_point deadline = Clock::now() + timeout;
        while (m_pending.empty()) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
            pollfd wait { m_descriptor, POLLIN, 0 };
            if (left.count() <= 0 || ::poll(&wait, 1, static_cast<int>(left.count())) <= 0)
                return Seen::Nothing;
            alignas(inotify_event) char buffer[4096];
            const ssize_t length = ::read(m_descriptor, buffer, sizeof buffer);
            for (ssize_t at = 0; at < length;) {
                const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
                const std::string name = event->len > 0 ? event->name : "";
                if ((event->mask & IN_CREATE) && name == ".FILES.LST.tmp")
                    m_pending.push_back(Seen::Temporary);
                if ((event->mask & IN_MOVED_TO) && name == "FILES.LST")
                    m_pending.push_back(Seen::ListPlaced);
                at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            }
        }
        const Seen seen = m_pending.front();
        m_pending.erase(m_pending.begin());
        return seen;
    }

private:
    int m_descriptor;
    std::vector<Seen> m_pending;
};

// Runs kelvane with arguments, its standard streams on /dev/null.
pid_t spawnKelvane(std::vector<std::string> arguments)
{
    std::string program = KELVANE_BINARY;
    std::vector<char*> argv { program.data() };
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO })
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", stream ? O_WRONLY : O_RDONLY, 0);
    pid_t child = -1;
    const int failed = posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return failed == 0 ? child : -1;
}

int waitFor(pid_t child)
{
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    return status;
}

class KillDuringSaveTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const AreaRecord record = board.simpleRecord("big");
        board.addArea(record);
        directory = record.path;
        list = record.filesList;
        backup = directory / "FILES.BAK";
        oldList = bigList();
    }

    void restore()
    {
        TestBoard::writeFile(list, oldList);
        TestBoard::writeFile(backup, OlderBackup);
    }

    pid_t start(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.end(), { "1", "--main-node", board.mainNode().string(), "--yes" });
        return spawnKelvane(arguments);
    }

    bool temporaryLeft() const
    {
        for (const fs::directory_entry& entry : fs::directory_iterator(directory))
            if (entry.path().filename().string().starts_with(".FILES.LST"))
                return true;
        return false;
    }

    TestBoard board;
    fs::path directory;
    fs::path list;
    fs::path backup;
    std::string oldList;
};

TEST_F(KillDuringSaveTest, AKillAtAnyMomentOfTheSaveLosesNoList)
{
    // Each is given the area, "1", last.
    const std::vector<std::vector<std::string>> commands = {
        { "sort", "--by", "name", "--descending" }, { "rewrite" }, { "sort", "--by", "size" }, { "strip-uploaders" }
    };

    // Each command once to its end: the list it writes, and how long its save takes from
    // the temporary's creation to the new list's rename.
    std::vector<std::string> newLists;
    std::vector<Clock::duration> windows;
    for (const auto& arguments : commands) {
        restore();
        SaveWatch watch(directory);
        const pid_t child = start(arguments);
        ASSERT_GT(child, 0);
        Clock::time_point begun {};
        Clock::time_point placed {};
        for (SaveWatch::Seen seen; placed == Clock::time_point {};) {
            seen = watch.next(std::chrono::milliseconds(20000));
            ASSERT_NE(seen, SaveWatch::Seen::Nothing) << "the save never happened";
            if (seen == SaveWatch::Seen::Temporary)
                begun = Clock::now();
            else
                placed = Clock::now();
        }
        const int status = waitFor(child);
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        newLists.push_back(TestBoard::readFile(list));
        ASSERT_EQ(TestBoard::readFile(backup), oldList);
        windows.push_back(placed - begun);
    }

    std::mt19937 random(1123);
    std::uniform_real_distribution<double> moment(0.0, 1.1);
    int kills = 0;
    int lost = 0;
    int leftOld = 0;
    for (int attempt = 0; kills < Kills && attempt < 3 * Kills; ++attempt) {
        const std::size_t which = static_cast<std::size_t>(attempt) % commands.size();
        restore();
        SaveWatch watch(directory);
        const pid_t child = start(commands[which]);
        ASSERT_GT(child, 0);
        ASSERT_EQ(watch.next(std::chrono::milliseconds(20000)), SaveWatch::Seen::Temporary);
        const auto delay = std::chrono::duration_cast<Clock::duration>(windows[which] * moment(random));
        std::this_thread::sleep_until(Clock::now() + delay);
        ::kill(child, SIGKILL);
        const int status = waitFor(child);
        if (!WIFSIGNALED(status))
            continue; // it finished first: not a kill during the save
        ++kills;

        const std::string after = TestBoard::readFile(list);
        const bool old = after == oldList;
        leftOld += old ? 1 : 0;
        const bool whole = old || after == newLists[which];
        lost += whole ? 0 : 1;
        EXPECT_TRUE(whole) << "kill " << kills << ": the list is neither the old one nor the new one";
        // The backup: untouched, removed, or the old list (made just before the rename); once
        // the new list is in place, the old list.
        const bool hasBackup = fs::exists(backup);
        const std::string saved = hasBackup ? TestBoard::readFile(backup) : std::string();
        if (old)
            EXPECT_TRUE(!hasBackup || saved == OlderBackup || saved == oldList) << "kill " << kills;
        else
            EXPECT_EQ(saved, oldList) << "kill " << kills;

        // The next save finishes and leaves no temporary behind.
        const pid_t next = start(commands[1]);
        const int nextStatus = waitFor(next);
        EXPECT_TRUE(WIFEXITED(nextStatus) && WEXITSTATUS(nextStatus) == 0) << "kill " << kills;
        EXPECT_FALSE(temporaryLeft()) << "kill " << kills;
    }
    EXPECT_EQ(kills, Kills);
    std::printf("%d kills during the save: %d left the old list, %d the new one, %d lists lost\n", kills, leftOld,
                kills - leftOld - lost, lost);
}

#else

TEST(KillDuringSaveTest, NeedsLinux)
{
    GTEST_SKIP() << "the kills are timed by inotify";
}

#endif

} // namespace
} // namespace Kelvane::Testing
