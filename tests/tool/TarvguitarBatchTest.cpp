// The tool's answers to long lists of chords, one at a time (--jobs 1) and several at once:
// the same bytes on standard output and standard error, in input order, with the same exit status.

#include "ToolTestSupport.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <poll.h>
#include <signal.h>

#include <chrono>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace tarv::tooltest;

/// The workload with unreadable symbols, blank lines and blanks around symbols mixed in.
std::vector<std::string> workloadWithProblems() {
    std::vector<std::string> lines = workloadChordSymbols();
    lines.insert(lines.begin() + 1000, "cm7");
    lines.insert(lines.begin() + 517, "C/");
    lines.insert(lines.begin() + 300, "   ");
    lines.insert(lines.begin() + 120, "  G7  ");
    lines.insert(lines.begin() + 1, "H7");
    lines.insert(lines.begin(), "Xyz");
    lines.push_back("");
    lines.push_back("Q#");
    return lines;
}

/// The lines of standard error the problems of `workloadWithProblems` come to, in order.
const std::vector<std::string> kProblemLines{
    "tarvguitar: cannot read the chord symbol \"Xyz\"",
    "tarvguitar: cannot read the chord symbol \"H7\"",
    "tarvguitar: cannot read the chord symbol \"C/\"",
    "tarvguitar: cannot read the chord symbol \"cm7\" (did you mean \"Cm7\"?)",
    "tarvguitar: cannot read the chord symbol \"Q#\"",
};

/// The arguments of a run: the symbols before and after standard input, then `options`.
std::vector<std::string> shapesArguments(const std::vector<std::string>& options,
                                         const std::string& jobs) {
    std::vector<std::string> arguments{"shapes", "Bbm9", "-", "Zz9", "F#7sus4"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    if (!jobs.empty()) {
        arguments.insert(arguments.end(), {"--jobs", jobs});
    }
    return arguments;
}

/// Runs the list with `options` on one thread and on four: standard output and error apart,
/// and merged, so that the place of every error line among the answers is compared too.
void expectSameOnOneAndFourThreads(const std::vector<std::string>& options) {
    const std::string input = linesText(workloadWithProblems());
    const ToolRun one = runTool(TARV_TOOL_PATH, shapesArguments(options, "1"), input);
    const ToolRun four = runTool(TARV_TOOL_PATH, shapesArguments(options, "4"), input);
    EXPECT_EQ(one.exitCode, 2) << one.err;
    EXPECT_EQ(four.exitCode, one.exitCode);
    ASSERT_GT(one.out.size(), 100000u);
    EXPECT_TRUE(one.out == four.out) << "standard output differs";

    std::vector<std::string> problems = kProblemLines;
    problems.push_back("tarvguitar: cannot read the chord symbol \"Zz9\"");
    EXPECT_EQ(textLines(one.err), problems);
    EXPECT_EQ(four.err, one.err);

    const ToolRun oneMerged = runTool(TARV_TOOL_PATH, shapesArguments(options, "1"), input, true);
    const ToolRun fourMerged = runTool(TARV_TOOL_PATH, shapesArguments(options, "4"), input, true);
    EXPECT_EQ(fourMerged.exitCode, oneMerged.exitCode);
    EXPECT_TRUE(oneMerged.out == fourMerged.out) << "the merged outputs differ";
}

class TarvguitarBatch
    : public testing::TestWithParam<std::tuple<const char*, std::vector<std::string>>> {};

TEST_P(TarvguitarBatch, AnswersOnOneAndOnFourThreadsAreTheSame) {
    std::vector<std::string> options{"--format", std::get<0>(GetParam())};
    const std::vector<std::string>& ranking = std::get<1>(GetParam());
    options.insert(options.end(), ranking.begin(), ranking.end());
    expectSameOnOneAndFourThreads(options);
}

INSTANTIATE_TEST_SUITE_P(
    FormatsAndRankings, TarvguitarBatch,
    testing::Combine(testing::Values("json", "text", "svg"),
                     testing::Values(std::vector<std::string>{},
                                     std::vector<std::string>{"--rank", "spec"},
                                     std::vector<std::string>{"--uncached"})),
    [](const testing::TestParamInfo<TarvguitarBatch::ParamType>& param) {
        const std::vector<std::string>& ranking = std::get<1>(param.param);
        return std::string(std::get<0>(param.param)) + (ranking.empty()            ? "_playable"
                                                        : ranking.back() == "spec" ? "_spec"
                                                                                   : "_uncached");
    });

TEST(TarvguitarBatchOptions, ForcedGenerationMergesAsOnOneThread) {
    // Every chord of the list comes five times: later ones are answered from entries that
    // earlier ones merged into, on one thread or on several.
    expectSameOnOneAndFourThreads({"--format", "json", "--rank", "spec", "--force"});
}

TEST(TarvguitarBatchOptions, LimitAndExplainAreKeptOnEveryThread) {
    expectSameOnOneAndFourThreads({"--format", "text", "--limit", "3", "--explain"});
}

TEST(TarvguitarBatchOptions, JsonAnswersAndErrorLinesFollowTheInputOrder) {
    const std::vector<std::string> input = workloadWithProblems();
    const ToolRun run =
        runTool(TARV_TOOL_PATH, shapesArguments({"--format", "json", "--uncached"}, "4"),
                linesText(input), true);
    EXPECT_EQ(run.exitCode, 2);
    std::vector<std::string> expected{"Bbm9"};
    for (const std::string& line : input) {
        const std::size_t first = line.find_first_not_of(' ');
        if (first != std::string::npos) {
            expected.push_back(line.substr(first, line.find_last_not_of(' ') + 1 - first));
        }
    }
    expected.insert(expected.end(), {"Zz9", "F#7sus4"});

    const std::vector<std::string> written = textLines(run.out);
    ASSERT_EQ(written.size(), expected.size());
    std::size_t problems = 0;
    for (std::size_t i = 0; i < written.size(); ++i) {
        if (written[i].rfind("tarvguitar: ", 0) == 0) {
            EXPECT_NE(written[i].find("\"" + expected[i] + "\""), std::string::npos)
                << "line " << i + 1 << ": " << written[i];
            ++problems;
            continue;
        }
        const nlohmann::json answer = nlohmann::json::parse(written[i]);
        EXPECT_EQ(answer.at("chord").at("symbol"), expected[i]) << "line " << i + 1;
    }
    EXPECT_EQ(problems, kProblemLines.size() + 1);
}

TEST(TarvguitarBatchOptions, DefaultAnswersAsOneThreadDoes) {
    const std::string input = linesText(workloadChordSymbols());
    const ToolRun one =
        runTool(TARV_TOOL_PATH, {"shapes", "-", "--format", "json", "--jobs", "1"}, input);
    const ToolRun byDefault = runTool(TARV_TOOL_PATH, {"shapes", "-", "--format", "json"}, input);
    EXPECT_EQ(one.exitCode, 0) << one.err;
    EXPECT_EQ(byDefault.exitCode, 0) << byDefault.err;
    EXPECT_EQ(textLines(one.out).size(), 1080u);
    EXPECT_TRUE(byDefault.out == one.out);
}

TEST(TarvguitarBatchOptions, JobsOutsideItsRangeAreRefused) {
    for (const char* jobs : {"0", "257", "-1", "many"}) {
        const ToolRun run = runTool(TARV_TOOL_PATH, {"shapes", "C", "--jobs", jobs}, "");
        EXPECT_EQ(run.exitCode, 2) << jobs;
        EXPECT_EQ(run.out, "") << jobs;
        EXPECT_NE(run.err.find("--jobs"), std::string::npos) << jobs << ": " << run.err;
    }
    const ToolRun help = runTool(TARV_TOOL_PATH, {"shapes", "--help"}, "");
    EXPECT_NE(help.out.find("--jobs"), std::string::npos);
}

/// Reads from `fd` until a line end arrives or `seconds` pass; the bytes read are appended.
bool readLine(int fd, std::string& text, int seconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    const std::size_t start = text.size();
    while (text.find('\n', start) == std::string::npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return false;
        }
        pollfd entry{fd, POLLIN, 0};
        if (poll(&entry, 1, static_cast<int>(left.count())) <= 0) {
            continue;
        }
        char buffer[65536];
        const ssize_t count = read(fd, buffer, sizeof buffer);
        if (count <= 0) {
            return false;
        }
        text.append(buffer, static_cast<std::size_t>(count));
    }
    return true;
}

TEST(TarvguitarBatchOptions, EachAnswerComesOutBeforeTheInputEnds) {
    // A player typing chords one at a time sees each answer before typing the next.
    int input[2];
    int output[2];
    ASSERT_EQ(pipe(input), 0);
    ASSERT_EQ(pipe(output), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    for (const int fd : {input[0], input[1], output[0], output[1]}) {
        posix_spawn_file_actions_addclose(&actions, fd);
    }
    std::string program = TARV_TOOL_PATH;
    std::vector<std::string> storage{program, "shapes", "-", "--format", "json", "--jobs", "4"};
    std::vector<char*> argv;
    for (std::string& argument : storage) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(input[0]);
    close(output[1]);
    ASSERT_EQ(spawned, 0);
    signal(SIGPIPE, SIG_IGN);

    std::string written;
    for (const char* symbol : {"C", "G7", "Am"}) {
        const std::string line = std::string(symbol) + "\n";
        ASSERT_EQ(write(input[1], line.data(), line.size()), static_cast<ssize_t>(line.size()));
        ASSERT_TRUE(readLine(output[0], written, 120)) << "no answer to " << symbol;
    }
    close(input[1]);
    std::string rest;
    readLine(output[0], rest, 120);
    close(output[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    const std::vector<std::string> answers = textLines(written);
    ASSERT_EQ(answers.size(), 3u);
    EXPECT_EQ(nlohmann::json::parse(answers[1]).at("chord").at("symbol"), "G7");
    EXPECT_EQ(rest, "");
}

} // namespace
