#include "support/RepoPicture.h"

#include <algorithm>
#include <stdexcept>

namespace vorda::testing::picture {
namespace {

struct Word {
    std::string text;
    char kind = 0;  // '"' for a quoted text alone, '[' or '{' for a group, 0 otherwise
};

/// Splits one line into words: a double-quoted text (escapes applied, quotes
/// removed, `key="text"` keeping its key), a bracketed or braced group, or a
/// run of other characters. `#` ends the line.
std::vector<Word> wordsOf(std::string_view line) {
    std::vector<Word> words;
    std::size_t at = 0;
    auto quoted = [&] {
        std::string text;
        for (++at; at < line.size() && line[at] != '"'; ++at) {
            if (line[at] == '\\' && at + 1 < line.size()) {
                ++at;
                text += line[at] == 'n' ? '\n' : line[at];
            } else {
                text += line[at];
            }
        }
        if (at++ >= line.size()) {
            throw std::invalid_argument("unterminated quote");
        }
        return text;
    };
    while (true) {
        while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) {
            ++at;
        }
        if (at >= line.size() || line[at] == '#') {
            return words;
        }
        Word word;
        if (line[at] == '[' || line[at] == '{') {
            word.kind = line[at];
            const auto close = line.find(word.kind == '[' ? ']' : '}', at);
            if (close == std::string_view::npos) {
                throw std::invalid_argument(std::string("unclosed '") + word.kind + "'");
            }
            word.text = line.substr(at + 1, close - at - 1);
            at = close + 1;
        } else if (line[at] == '"') {
            word.kind = '"';
            word.text = quoted();
        }
        while (at < line.size() && line[at] != ' ' && line[at] != '\t') {
            word.kind = word.kind == '"' ? '\0' : word.kind;
            word.text += line[at] == '"' ? quoted() : std::string(1, line[at++]);
        }
        words.push_back(std::move(word));
    }
}

std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> parts;
    for (std::size_t start = 0; start < text.size();) {
        const auto end = std::min(text.find(' ', start), text.size());
        if (end > start) {
            parts.push_back(text.substr(start, end - start));
        }
        start = end + 1;
    }
    return parts;
}

/// The parents after "<-": the words up to the first that is something else.
std::vector<std::string> parentsOf(const std::vector<Word>& words, std::size_t& index) {
    if (index >= words.size() || words[index].kind != 0 || words[index].text != "<-") {
        throw std::invalid_argument("expected \"<-\" and parents");
    }
    std::vector<std::string> parents;
    for (++index; index < words.size() && words[index].kind == 0 &&
                  words[index].text.find('=') == std::string::npos;
         ++index) {
        parents.push_back(words[index].text);
    }
    if (parents.empty()) {
        throw std::invalid_argument("no parents after \"<-\"");
    }
    return parents;
}

Item itemOf(const std::vector<Word>& words) {
    const std::string& head = words.front().text;
    std::size_t index = 1;
    if (head == "origin" && words.size() == 1) {
        return Origin{};
    }
    if (head == "push" && words.size() > 1) {
        Push push;
        for (; index < words.size(); ++index) {
            push.bookmarks.push_back(words[index].text);
        }
        return push;
    }
    if (head == "workspace" && words.size() > 1) {
        index = 2;
        return Workspace{words[1].text, parentsOf(words, index)};
    }
    Commit commit{head, parentsOf(words, index), {}, {}, {}, {}};
    if (head == "@") {
        if (index != words.size()) {
            throw std::invalid_argument("the working copy takes only parents");
        }
        return WorkingCopy{commit.parents};
    }
    for (; index < words.size(); ++index) {
        const Word& word = words[index];
        const auto equals = word.text.find('=');
        if (word.kind == '"') {
            commit.description = word.text;
        } else if (word.kind == '[') {
            commit.bookmarks = split(word.text);
        } else if (word.kind == '{') {
            commit.author = word.text;
        } else if (equals != std::string::npos) {
            commit.files[word.text.substr(0, equals)] = word.text.substr(equals + 1);
        } else {
            throw std::invalid_argument("cannot read \"" + word.text + "\"");
        }
    }
    return commit;
}

}  // namespace

std::vector<Item> parse(std::string_view text) {
    std::vector<Item> items;
    std::size_t number = 0;
    for (std::size_t start = 0; start <= text.size(); ++number) {
        const auto end = std::min(text.find('\n', start), text.size());
        const std::string_view line = text.substr(start, end - start);
        start = end + 1;
        try {
            if (const auto words = wordsOf(line); !words.empty()) {
                items.push_back(itemOf(words));
            }
        } catch (const std::invalid_argument& error) {
            throw std::invalid_argument("picture line " + std::to_string(number + 1) + " (" +
                                        std::string(line) + "): " + error.what());
        }
    }
    return items;
}

}  // namespace vorda::testing::picture
