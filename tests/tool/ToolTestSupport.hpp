// Running the built tarvguitar binary from a test, and the chord list of the tool's workload.

#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

extern char** environ;

namespace tarv::tooltest {

struct ToolRun {
    int exitCode = -1;
    std::string out;
    /// Standard error; empty when it was merged into `out`.
    std::string err;
};

inline std::string fileText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The lines of `text`, without their line ends.
inline std::vector<std::string> textLines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) {
        result.push_back(line);
    }
    return result;
}

/// A scratch directory, removed with its contents at the end of the scope.
class ScratchFolder {
public:
    ScratchFolder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "tarv-tool-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error(std::string("mkdtemp: ") + std::strerror(errno));
        }
        _path = pattern;
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }
    const std::filesystem::path& path() const { return _path; }

private:
    std::filesystem::path _path;
};

/// Runs `program` with `arguments` in a fresh working directory with `input` on standard input.
/// With `mergeErrors`, standard error goes to the same file as standard output, so that `out`
/// shows where each error line falls among the answers. The shape cache's debug log is switched
/// off so that standard error holds only what the tool itself reports.
inline ToolRun runTool(const std::string& program, const std::vector<std::string>& arguments,
                       const std::string& input, bool mergeErrors = false) {
    ScratchFolder scratch;
    const std::string inputPath = (scratch.path() / "stdin").string();
    const std::string outPath = (scratch.path() / "stdout").string();
    const std::string errPath = (scratch.path() / "stderr").string();
    std::ofstream(inputPath, std::ios::binary) << input;

    std::vector<std::string> argumentStorage{program};
    argumentStorage.insert(argumentStorage.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& argument : argumentStorage) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);

    std::vector<char*> envp;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        if (std::strncmp(*entry, "TARV_GUITAR_SHAPE_CACHE_DEBUG=", 30) != 0) {
            envp.push_back(*entry);
        }
    }
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, inputPath.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (mergeErrors) {
        posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0600);
    }
    posix_spawn_file_actions_addchdir_np(&actions, scratch.path().c_str());

    ToolRun result;
    pid_t pid = 0;
    const int spawned =
        posix_spawnp(&pid, program.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) {
        result.err = "cannot start " + program + ": " + std::strerror(spawned);
        return result;
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = fileText(outPath);
    if (!mergeErrors) {
        result.err = fileText(errPath);
    }
    return result;
}

/// The 18 qualities of the workload: those a chord chart of popular music uses most, the triads
/// first (major, minor, diminished, augmented, suspended, power chord), then the sixths,
/// sevenths, ninths and the added ninth.
inline const std::vector<std::string>& workloadQualities() {
    static const std::vector<std::string> qualities{"",     "m",    "dim",   "aug", "sus2", "sus4",
                                                    "5",    "6",    "m6",    "7",   "maj7", "m7",
                                                    "dim7", "m7b5", "7sus4", "9",   "m9",   "add9"};
    return qualities;
}

/// The tool's workload: every quality of `workloadQualities` on each of the 12 roots (the roots
/// inner), the whole list written 5 times: 1,080 chord symbols. scripts/count-instructions
/// --workload measures the tool on the same list.
inline std::vector<std::string> workloadChordSymbols() {
    static const char* const roots[] = {"C",  "C#", "D",  "Eb", "E",  "F",
                                        "F#", "G",  "Ab", "A",  "Bb", "B"};
    std::vector<std::string> symbols;
    for (int pass = 0; pass < 5; ++pass) {
        for (const std::string& quality : workloadQualities()) {
            for (const char* root : roots) {
                symbols.push_back(root + quality);
            }
        }
    }
    return symbols;
}

/// `lines`, one a line.
inline std::string linesText(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line;
        text += '\n';
    }
    return text;
}

} // namespace tarv::tooltest
