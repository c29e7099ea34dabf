// Malformed and hostile inputs: hostile.txt has an edit of a good file and the message a
// line. Each ends with status 2, names the file, the place and what was expected there,
// and leaves nothing behind.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <sstream>

#include "cli/file.h"

namespace workbench {
namespace {

namespace fs = std::filesystem;

// "\n", "\x1b", and "\{3|ab}" for ababab.
std::string plain(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); i++) {
        if (text[i] != '\\') {
            result += text[i];
            continue;
        }
        const char kind = text[++i];
        if (kind == 'x') {
            result += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else if (kind == '{') {
            const auto bar = text.find('|', i);
            const auto end = text.find('}', bar);
            for (int left = std::stoi(text.substr(i + 1)); left > 0; left--)
                result += text.substr(bar + 1, end - bar - 1);
            i = end;
        } else {
            result += kind == 'n' ? '\n' : kind == 'r' ? '\r' : kind;
        }
    }
    return result;
}

struct Kind {
    const char* file;
    const char* command;  // on the file "bad"
};
Kind networkKind(const char* file) {
    return {file, "convert bad --to json -o out"};
}
Kind demandsKind(const char* file) {
    return {file, "place net.json bad -o out"};
}
const std::map<std::string, Kind> kKinds = {
    {"any", networkKind("net.json")},
    {"graphml", networkKind("net.graphml")},
    {"sndlib-xml", networkKind("net.xml")},
    {"sndlib-native", networkKind("net.txt")},
    {"repetita", networkKind("net.graph")},
    {"json", networkKind("net.json")},
    {"csv", networkKind("net.csv")},
    {"sndlib-demands", demandsKind("net.xml")},
    {"native-demands", demandsKind("net.txt")},
    {"repetita-demands", demandsKind("demands.demands")},
    {"json-demands", demandsKind("demands.json")},
    {"csv-demands", demandsKind("demands.csv")},
    {"plan", {"plan.json", "improve bad -o out"}},
};

class Hostile : public testing::Test {
  protected:
    void SetUp() override {
        fs::copy(KAVRIL_SAMPLES, folder_);
        ASSERT_EQ(0, run("place net.json demands.json --protection local -o plan.json"))
            << output_;
    }
    void TearDown() override { fs::remove_all(folder_); }

    int run(const std::string& arguments) {
        const std::string command = "cd '" + folder_.string() +
                                    "' && '" KAVRIL_PROGRAM "' " + arguments + " 2>&1";
        std::FILE* pipe = popen(command.c_str(), "r");
        output_.clear();
        char part[4096];
        while (const std::size_t size = std::fread(part, 1, sizeof part, pipe))
            output_.append(part, size);
        const int status = pclose(pipe);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // The command for one row, its file written.
    std::string prepare(const std::string& kind, const std::string& find,
                        const std::string& replacement) {
        if (kind == "option") return replacement;
        const Kind& of = kKinds.at(kind);
        std::string text = readFile((folder_ / of.file).string());
        const std::size_t at = find == "*" ? 0 : text.find(plain(find));
        EXPECT_NE(text.npos, at) << find;
        text.replace(at, find == "*" ? text.npos : plain(find).size(),
                     plain(replacement));
        writeFile((folder_ / "bad").string(), text);
        return of.command;
    }

    fs::path folder_ =
        fs::path(testing::TempDir()) / ("hostile" + std::to_string(getpid()));
    std::string output_;
};

TEST_F(Hostile, InputIsRefusedWithFilePlaceAndExpectation) {
    std::istringstream rows(readFile(KAVRIL_HOSTILE));
    int count = 0;
    for (std::string row; std::getline(rows, row);) {
        if (row.empty() || row[0] == '#') continue;
        SCOPED_TRACE(row);
        std::istringstream cells(row);
        std::string kind, find, replacement, message;
        std::getline(cells, kind, '\t');
        std::getline(cells, find, '\t');
        std::getline(cells, replacement, '\t');
        std::getline(cells, message);
        ASSERT_FALSE(message.empty());
        EXPECT_EQ(2, run(prepare(kind, find, replacement)));
        EXPECT_THAT(output_, testing::HasSubstr(message));
        EXPECT_FALSE(fs::exists(folder_ / "out"));
        count++;
    }
    EXPECT_GE(count, 200);
}

}  // namespace
}  // namespace workbench
