#include "support/RepoPicture.h"

#include <stdexcept>

namespace vorda::testing::picture {
namespace {

struct Word {
    std::string text;
    bool quoted = false;  // written as one double-quoted text and nothing else
};

/// Splits one line into words; a double-quoted text is one word (quotes
/// removed, escapes applied), and `key="text"` keeps its key.
class Words {
  public:
    explicit Words(std::string_view line) : line_(line) {}

    std::vector<Word> all() {
        std::vector<Word> words;
        while (skipBlanks()) {
            words.push_back(next());
        }
        return words;
    }

  private:
    bool skipBlanks() {
        while (position_ < line_.size() && (line_[position_] == ' ' || line_[position_] == '\t')) {
            ++position_;
        }
        return position_ < line_.size() && line_[position_] != '#';
    }

    Word next() {
        Word word{{}, line_[position_] == '"'};
        while (position_ < line_.size() && line_[position_] != ' ' && line_[position_] != '\t') {
            const char current = line_[position_++];
            // Anything beside the first quoted text makes it more than a text.
            word.quoted = word.quoted && word.text.empty() && current == '"';
            if (current != '"') {
                word.text += current;
                continue;
            }
            word.text += quoted();
        }
        return word;
    }

    std::string quoted() {
        std::string text;
        while (position_ < line_.size()) {
            const char current = line_[position_++];
            if (current == '"') {
                return text;
            }
            if (current == '\\' && position_ < line_.size()) {
                const char escaped = line_[position_++];
                text += escaped == 'n' ? '\n' : escaped;
                continue;
            }
            text += current;
        }
        throw std::invalid_argument("unterminated quote");
    }

    std::string_view line_;
    std::size_t position_ = 0;
};

/// The parents after "<-": words up to the first that is not a parent.
std::vector<std::string> takeParents(const std::vector<Word>& words, std::size_t& index) {
    if (index >= words.size() || words[index].quoted || words[index].text != "<-") {
        throw std::invalid_argument("expected \"<-\" and parents");
    }
    std::vector<std::string> parents;
    for (++index; index < words.size(); ++index) {
        const std::string& word = words[index].text;
        if (words[index].quoted || word.find('=') != std::string::npos || word.front() == '[' ||
            word.front() == '{') {
            break;
        }
        parents.push_back(word);
    }
    if (parents.empty()) {
        throw std::invalid_argument("no parents after \"<-\"");
    }
    return parents;
}

/// Collects a bracketed or braced group that the splitter cut into words.
std::string group(const std::vector<Word>& words, std::size_t& index, char close) {
    std::string text = words[index].text.substr(1);
    while (text.empty() || text.back() != close) {
        if (++index >= words.size()) {
            throw std::invalid_argument(std::string("missing '") + close + "'");
        }
        text += ' ' + words[index].text;
    }
    text.pop_back();
    return text;
}

std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start < text.size()) {
        const auto end = text.find(' ', start);
        if (end != start) {
            parts.push_back(text.substr(start, end - start));
        }
        if (end == std::string::npos) {
            break;
        }
        start = end + 1;
    }
    return parts;
}

Commit commitLine(const std::vector<Word>& words) {
    Commit commit;
    commit.name = words.front().text;
    std::size_t index = 1;
    commit.parents = takeParents(words, index);
    for (; index < words.size(); ++index) {
        const std::string& word = words[index].text;
        if (words[index].quoted) {
            commit.description = word;
        } else if (word.front() == '[') {
            for (auto& name : split(group(words, index, ']'))) {
                commit.bookmarks.push_back(std::move(name));
            }
        } else if (word.front() == '{') {
            commit.author = group(words, index, '}');
        } else if (const auto equals = word.find('='); equals != std::string::npos) {
            commit.files[word.substr(0, equals)] = word.substr(equals + 1);
        } else {
            throw std::invalid_argument("cannot read \"" + word + "\"");
        }
    }
    return commit;
}

std::vector<std::string> texts(const std::vector<Word>& words, std::size_t from) {
    std::vector<std::string> result;
    for (std::size_t index = from; index < words.size(); ++index) {
        result.push_back(words[index].text);
    }
    return result;
}

Item itemOf(const std::vector<Word>& words) {
    const std::string& head = words.front().text;
    if (head == "origin" && words.size() == 1) {
        return Origin{};
    }
    if (head == "push") {
        if (words.size() < 2) {
            throw std::invalid_argument("push names no bookmark");
        }
        return Push{texts(words, 1)};
    }
    if (head == "workspace") {
        if (words.size() < 2) {
            throw std::invalid_argument("workspace needs a name");
        }
        std::size_t index = 2;
        return Workspace{words[1].text, takeParents(words, index)};
    }
    if (head == "@") {
        std::size_t index = 1;
        auto parents = takeParents(words, index);
        if (index != words.size()) {
            throw std::invalid_argument("the working copy takes only parents");
        }
        return WorkingCopy{std::move(parents)};
    }
    return commitLine(words);
}

}  // namespace

std::vector<Item> parse(std::string_view text) {
    std::vector<Item> items;
    std::size_t number = 0;
    std::size_t start = 0;
    while (start <= text.size()) {
        const auto end = std::min(text.find('\n', start), text.size());
        const std::string_view line = text.substr(start, end - start);
        ++number;
        start = end + 1;
        try {
            const auto words = Words(line).all();
            if (!words.empty()) {
                items.push_back(itemOf(words));
            }
        } catch (const std::invalid_argument& error) {
            throw std::invalid_argument("picture line " + std::to_string(number) + " (" +
                                        std::string(line) + "): " + error.what());
        }
    }
    return items;
}

}  // namespace vorda::testing::picture
