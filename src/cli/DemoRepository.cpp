#include "cli/DemoRepository.h"

#include <array>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <vector>

#include "jjkit/process/ProcessExecutor.h"
#include "jjkit/settings/BookmarkSettingsStore.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;

struct Identity {
    std::string name;
    std::string email;
};

// The teammate who pushes to origin with plain Git.
const Identity teammate{"Mira Okafor", "mira@tally.example"};
// Stands in for the user when jj knows no identity.
const Identity demoUser{"Demo User", "you@tally.example"};

constexpr std::string_view workspaceName = "integration";

// How long before the build a commit was made.
struct Age {
    int days = 0;
    int hours = 0;
};

[[noreturn]] void fail(std::string_view step, const std::string& reason) {
    throw std::runtime_error("Could not create the demo repository: step \"" + std::string(step) +
                             "\" failed: " + reason);
}

std::string firstLine(std::string_view output) {
    return std::string(text::trimWhitespace(output.substr(0, output.find('\n'))));
}

// Builds the demo step by step. Each step is one jj or git command (or one
// file edit) and carries a name for the error message. Commits are dated
// through `debug.commit-timestamp` (what JJ_TIMESTAMP sets) and the Git
// author and committer dates, relative to the moment the build started, so
// the board's "today" and "yesterday" groups are filled whenever it runs.
class DemoBuilder {
  public:
    explicit DemoBuilder(const fs::path& directory)
        : repo_(directory / "repo"),
          origin_(directory / "origin.git"),
          integration_(directory / workspaceName),
          clone_(directory / "mira-clone"),
          now_(std::chrono::system_clock::now()) {}

    void build() {
        chooseIdentity();
        createRepositories();
        publishTrunk();
        buildStorageStack();
        buildRenderColors();
        buildOneOff();
        teammatePushes();
        catchUpWithOrigin();
        buildExportStack();
        editDefaultWorkingCopy();
        composeIntegrationWorkspace();
        recordSettings();
        std::error_code ignored;
        fs::remove_all(clone_, ignored);  // the teammate's checkout was only a means
    }

  private:
    // Processes and files.

    ProcessResult run(std::string_view step, const std::vector<std::string>& arguments) const {
        try {
            auto result = ProcessExecutor::execute(arguments, std::nullopt, "demo", step);
            if (result.exitCode != 0) {
                fail(step, text::join(arguments, " ") + " exited with status " +
                               std::to_string(result.exitCode) + "\n" + result.stderr);
            }
            return result;
        } catch (const SpawnFailure&) {
            fail(step, "could not start " + text::join(arguments, " "));
        }
    }

    // jj in `workspace` as the user, with commits dated `age` ago.
    std::string jjIn(const fs::path& workspace, std::string_view step, Age age,
                     const std::vector<std::string>& arguments) const {
        std::vector<std::string> command{"jj",
                                         "--no-pager",
                                         "--color=never",
                                         "-R",
                                         workspace.string(),
                                         "--config",
                                         "user.name=" + me_.name,
                                         "--config",
                                         "user.email=" + me_.email,
                                         "--config",
                                         "debug.commit-timestamp=" + timestamp(age),
                                         "--config",
                                         "signing.behavior=drop"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return run(step, command).stdout;
    }

    std::string jj(std::string_view step, Age age,
                   const std::vector<std::string>& arguments) const {
        return jjIn(repo_, step, age, arguments);
    }

    // git in the teammate's clone, as the teammate, dated `age` ago. The
    // executor starts every command through /usr/bin/env, so leading
    // NAME=VALUE words set the child's environment, the only place Git reads
    // a committer date from.
    void gitAsTeammate(std::string_view step, Age age,
                       const std::vector<std::string>& arguments) const {
        const std::string when = timestamp(age);
        std::vector<std::string> command{"GIT_AUTHOR_NAME=" + teammate.name,
                                         "GIT_AUTHOR_EMAIL=" + teammate.email,
                                         "GIT_AUTHOR_DATE=" + when,
                                         "GIT_COMMITTER_NAME=" + teammate.name,
                                         "GIT_COMMITTER_EMAIL=" + teammate.email,
                                         "GIT_COMMITTER_DATE=" + when,
                                         "git",
                                         "-c",
                                         "commit.gpgsign=false",
                                         "-C",
                                         clone_.string()};
        command.insert(command.end(), arguments.begin(), arguments.end());
        run(step, command);
    }

    std::string timestamp(Age age) const {
        const auto then = now_ - std::chrono::hours(age.days * 24 + age.hours);
        const std::time_t seconds = std::chrono::system_clock::to_time_t(then);
        std::tm utc{};
        gmtime_r(&seconds, &utc);
        std::array<char, 32> buffer{};
        const auto length =
            std::strftime(buffer.data(), buffer.size(), "%Y-%m-%dT%H:%M:%S+00:00", &utc);
        return {buffer.data(), length};
    }

    static void write(std::string_view step, const fs::path& root, const std::string& path,
                      std::string_view contents) {
        const fs::path file = root / path;
        std::error_code error;
        fs::create_directories(file.parent_path(), error);
        std::ofstream stream(file, std::ios::binary | std::ios::trunc);
        stream << contents;
        if (error || !stream) {
            fail(step, "cannot write " + file.string());
        }
    }

    // Replaces the first `before` in a file with `after`: small edits make
    // diffs that look like real work.
    static void edit(std::string_view step, const fs::path& root, const std::string& path,
                     std::string_view before, std::string_view after) {
        const fs::path file = root / path;
        std::ifstream stream(file, std::ios::binary);
        std::ostringstream bytes;
        if (stream) {
            bytes << stream.rdbuf();
        }
        std::string contents = std::move(bytes).str();
        const auto at = contents.find(before);
        if (!stream || at == std::string::npos) {
            fail(step, "cannot find the text to change in " + file.string());
        }
        contents.replace(at, before.size(), after);
        write(step, root, path, contents);
    }

    // Finishes the working-copy commit as `message` and starts a new one on top.
    void commit(std::string_view step, Age age, const std::string& message) const {
        jj(step, age, {"commit", "-m", message});
    }

    std::string idOf(const fs::path& workspace, std::string_view step, const std::string& revset,
                     std::string_view field) const {
        auto id = firstLine(jjIn(workspace, step, {},
                                 {"log", "--no-graph", "--ignore-working-copy", "-r", revset, "-T",
                                  std::string(field) + " ++ \"\\n\""}));
        if (id.empty()) {
            fail(step, "no commit for " + revset);
        }
        return id;
    }

    void push(std::string_view step, Age age, const std::string& bookmark) const {
        // A bookmark that origin has never seen is tracked before its first push.
        jj(step, age, {"bookmark", "track", bookmark + "@origin"});
        jj(step, age, {"git", "push", "--bookmark", bookmark});
    }

    // The story, in the order it happened.

    // The identity jj is configured with, so that the demo's work is the
    // user's own; the demo identity when jj has none.
    void chooseIdentity() {
        const auto configured = [](const std::string& key) -> std::string {
            try {
                const auto result = ProcessExecutor::execute(
                    {"jj", "--no-pager", "--color=never", "config", "get", key}, std::nullopt,
                    "demo", "read the jj user identity");
                // A key that is not set at all makes `config get` fail.
                return result.exitCode == 0 ? firstLine(result.stdout) : std::string();
            } catch (const SpawnFailure&) {
                return {};
            }
        };
        me_.email = configured("user.email");
        me_.name = configured("user.name");
        recordIdentity_ = me_.email.empty();
        if (recordIdentity_) {
            me_ = demoUser;
        } else if (me_.name.empty()) {
            me_.name = demoUser.name;
        }
    }

    void createRepositories() {
        run("create the bare origin repository",
            {"git", "init", "--quiet", "--bare", "--initial-branch=main", origin_.string()});
        run("create the jj repository",
            {"jj", "--no-pager", "--color=never", "--config", "user.name=" + me_.name, "--config",
             "user.email=" + me_.email, "--config", "debug.commit-timestamp=" + timestamp({6, 9}),
             "git", "init", "--colocate", repo_.string()});
        if (recordIdentity_) {
            const std::string_view step =
                "record the demo identity in the repository configuration";
            jj(step, {6, 9}, {"config", "set", "--repo", "user.name", me_.name});
            jj(step, {6, 9}, {"config", "set", "--repo", "user.email", me_.email});
        }
        jj("add the origin remote", {6, 9}, {"git", "remote", "add", "origin", origin_.string()});
    }

    void publishTrunk() {
        const std::string_view first = "commit the project layout";
        write(first, repo_, "README.md",
              "# tally\n"
              "\n"
              "A small task counter for the terminal: add tasks, tick them off, see what is due.\n"
              "\n"
              "    tally add \"Water the plants\" --due 2024-06-01\n"
              "    tally list\n"
              "    tally done 3\n"
              "\n"
              "## Configuration\n"
              "\n"
              "Settings live in `~/.tally.toml`.\n");
        write(first, repo_, "pyproject.toml",
              "[project]\n"
              "name = \"tally\"\n"
              "version = \"0.1.0\"\n"
              "description = \"A small task counter for the terminal\"\n"
              "requires-python = \">=3.10\"\n"
              "\n"
              "[project.scripts]\n"
              "tally = \"tally.cli:main\"\n");
        write(first, repo_, "tally/__init__.py",
              "\"\"\"tally: a small task counter for the terminal.\"\"\"\n"
              "\n"
              "__version__ = \"0.1.0\"\n");
        write(first, repo_, "tally/cli.py",
              "import argparse\n"
              "\n"
              "\n"
              "def build_parser():\n"
              "    parser = argparse.ArgumentParser(prog=\"tally\")\n"
              "    commands = parser.add_subparsers(dest=\"command\", required=True)\n"
              "    add = commands.add_parser(\"add\", help=\"add a task\")\n"
              "    add.add_argument(\"title\")\n"
              "    add.add_argument(\"--due\")\n"
              "    commands.add_parser(\"list\", help=\"show open tasks\")\n"
              "    done = commands.add_parser(\"done\", help=\"tick a task off\")\n"
              "    done.add_argument(\"number\", type=int)\n"
              "    return parser\n"
              "\n"
              "\n"
              "def main(argv=None):\n"
              "    arguments = build_parser().parse_args(argv)\n"
              "    print(f\"tally {arguments.command}: not implemented yet\")\n");
        commit(first, {6, 8}, "Start tally, a task counter for the terminal");

        const std::string_view second = "commit the JSON storage";
        write(second, repo_, "tally/storage.py",
              "import json\n"
              "from dataclasses import asdict, dataclass\n"
              "from pathlib import Path\n"
              "\n"
              "DEFAULT_PATH = Path.home() / \".tally.json\"\n"
              "\n"
              "\n"
              "@dataclass\n"
              "class Task:\n"
              "    number: int\n"
              "    title: str\n"
              "    due: str | None = None\n"
              "    done: bool = False\n"
              "\n"
              "\n"
              "class JsonStore:\n"
              "    def __init__(self, path=DEFAULT_PATH):\n"
              "        self.path = Path(path)\n"
              "\n"
              "    def load(self):\n"
              "        if not self.path.exists():\n"
              "            return []\n"
              "        return [Task(**entry) for entry in json.loads(self.path.read_text())]\n"
              "\n"
              "    def save(self, tasks):\n"
              "        self.path.write_text(json.dumps([asdict(task) for task in tasks], "
              "indent=2))\n"
              "\n"
              "    def add(self, title, due=None):\n"
              "        tasks = self.load()\n"
              "        task = Task(number=len(tasks) + 1, title=title, due=due)\n"
              "        self.save(tasks + [task])\n"
              "        return task\n");
        write(second, repo_, "tests/test_storage.py",
              "from tally.storage import JsonStore\n"
              "\n"
              "\n"
              "def test_added_tasks_are_numbered(tmp_path):\n"
              "    store = JsonStore(tmp_path / \"tasks.json\")\n"
              "    store.add(\"first\")\n"
              "    second = store.add(\"second\", due=\"2024-05-01\")\n"
              "    assert second.number == 2\n"
              "    assert [task.title for task in store.load()] == [\"first\", \"second\"]\n");
        edit(second, repo_, "tally/cli.py", "import argparse\n",
             "import argparse\n\nfrom tally.storage import JsonStore\n");
        edit(second, repo_, "tally/cli.py",
             "    print(f\"tally {arguments.command}: not implemented yet\")\n",
             "    store = JsonStore()\n"
             "    if arguments.command == \"add\":\n"
             "        task = store.add(arguments.title, arguments.due)\n"
             "        print(f\"added #{task.number}: {task.title}\")\n"
             "    elif arguments.command == \"list\":\n"
             "        for task in store.load():\n"
             "            print(task.number, task.title)\n"
             "    elif arguments.command == \"done\":\n"
             "        tasks = store.load()\n"
             "        for task in tasks:\n"
             "            if task.number == arguments.number:\n"
             "                task.done = True\n"
             "        store.save(tasks)\n");
        commit(second, {6, 5}, "Keep tasks in a JSON file");

        const std::string_view third = "commit the table output";
        write(third, repo_, "tally/render.py",
              "from datetime import date\n"
              "\n"
              "\n"
              "def table(tasks):\n"
              "    rows = [(\"#\", \"Task\", \"Due\")]\n"
              "    for task in tasks:\n"
              "        if not task.done:\n"
              "            rows.append((str(task.number), task.title, task.due or \"\"))\n"
              "    widths = [max(len(row[column]) for row in rows) for column in range(3)]\n"
              "    return \"\\n\".join(\n"
              "        \"  \".join(cell.ljust(width) for cell, width in zip(row, widths)) "
              "for row in rows\n"
              "    )\n");
        edit(third, repo_, "tally/cli.py", "from tally.storage import JsonStore\n",
             "from tally.render import table\nfrom tally.storage import JsonStore\n");
        edit(third, repo_, "tally/cli.py",
             "        for task in store.load():\n            print(task.number, task.title)\n",
             "        print(table(store.load()))\n");
        commit(third, {5, 4}, "Print the task list as a table");

        jj("create the main bookmark", {5, 4}, {"bookmark", "create", "main", "-r", "@-"});
        push("push main to origin", {5, 4}, "main");
    }

    void buildStorageStack() {
        jj("start the storage stack", {4, 7}, {"new", "main"});
        const std::string_view first = "commit the SQLite backend";
        write(first, repo_, "tally/sqlite_store.py",
              "import sqlite3\n"
              "from pathlib import Path\n"
              "\n"
              "from tally.storage import Task\n"
              "\n"
              "DEFAULT_PATH = Path.home() / \".tally.db\"\n"
              "\n"
              "SCHEMA = \"\"\"\n"
              "CREATE TABLE IF NOT EXISTS tasks (\n"
              "    number INTEGER PRIMARY KEY,\n"
              "    title TEXT NOT NULL,\n"
              "    due TEXT,\n"
              "    done INTEGER NOT NULL DEFAULT 0\n"
              ");\n"
              "\"\"\"\n"
              "\n"
              "\n"
              "class SqliteStore:\n"
              "    def __init__(self, path=DEFAULT_PATH):\n"
              "        self.connection = sqlite3.connect(path)\n"
              "        self.connection.execute(SCHEMA)\n"
              "\n"
              "    def load(self):\n"
              "        rows = self.connection.execute(\n"
              "            \"SELECT number, title, due, done FROM tasks ORDER BY number\"\n"
              "        )\n"
              "        return [Task(number, title, due, bool(done)) for number, title, due, "
              "done in rows]\n"
              "\n"
              "    def add(self, title, due=None):\n"
              "        with self.connection:\n"
              "            cursor = self.connection.execute(\n"
              "                \"INSERT INTO tasks (title, due) VALUES (?, ?)\", (title, due)\n"
              "            )\n"
              "        return Task(cursor.lastrowid, title, due)\n");
        commit(first, {4, 6}, "Add a SQLite storage backend");

        const std::string_view second = "commit the JSON migration";
        edit(second, repo_, "tally/sqlite_store.py",
             "        return Task(cursor.lastrowid, title, due)\n",
             "        return Task(cursor.lastrowid, title, due)\n"
             "\n"
             "    def import_json(self, json_store):\n"
             "        \"\"\"Moves the tasks of the old JSON file in, once; the file stays as a "
             "backup.\"\"\"\n"
             "        if self.load():\n"
             "            return 0\n"
             "        tasks = json_store.load()\n"
             "        with self.connection:\n"
             "            self.connection.executemany(\n"
             "                \"INSERT INTO tasks (number, title, due, done) VALUES (?, ?, ?, "
             "?)\",\n"
             "                [(task.number, task.title, task.due, int(task.done)) for task in "
             "tasks],\n"
             "            )\n"
             "        return len(tasks)\n");
        commit(second, {4, 2}, "Move existing JSON tasks into SQLite on first start");
        jj("create the storage-sqlite bookmark", {4, 2},
           {"bookmark", "create", "storage-sqlite", "-r", "@-"});
        push("push storage-sqlite to origin", {4, 2}, "storage-sqlite");

        // One more commit that origin has not seen: the bookmark is ahead.
        const std::string_view third = "commit the due-date index";
        edit(third, repo_, "tally/sqlite_store.py", ");\n\"\"\"\n",
             ");\nCREATE INDEX IF NOT EXISTS tasks_by_due ON tasks (due);\n\"\"\"\n");
        edit(third, repo_, "tally/sqlite_store.py", "self.connection.execute(SCHEMA)",
             "self.connection.executescript(SCHEMA)");
        commit(third, {3, 6}, "Index tasks by due date");
        jj("move storage-sqlite ahead of origin", {3, 6},
           {"bookmark", "set", "storage-sqlite", "-r", "@-"});
    }

    void buildRenderColors() {
        jj("start render-colors", {3, 3}, {"new", "main"});
        const std::string_view step = "commit the overdue colouring";
        edit(step, repo_, "tally/render.py", "from datetime import date\n",
             "from datetime import date\n"
             "\n"
             "RED = \"\\033[31m\"\n"
             "RESET = \"\\033[0m\"\n"
             "\n"
             "\n"
             "def overdue(task, today=None):\n"
             "    return task.due is not None and task.due < (today or "
             "date.today()).isoformat()\n");
        edit(step, repo_, "tally/render.py",
             "            rows.append((str(task.number), task.title, task.due or \"\"))\n",
             "            due = task.due or \"\"\n"
             "            if overdue(task):\n"
             "                due = RED + due + RESET\n"
             "            rows.append((str(task.number), task.title, due))\n");
        commit(step, {3, 2}, "Colour overdue tasks red");
        jj("create the render-colors bookmark", {3, 2},
           {"bookmark", "create", "render-colors", "-r", "@-"});
        push("push render-colors to origin", {3, 2}, "render-colors");
        renderColorsTip_ = idOf(repo_, "find the render-colors tip",
                                bookmarkTipRevset("render-colors"), "commit_id");
    }

    void buildOneOff() {
        jj("start the one-off stack", {2, 9}, {"new", "main"});
        const std::string_view first = "commit the date parser";
        write(first, repo_, "tally/dates.py",
              "import re\n"
              "from datetime import date, timedelta\n"
              "\n"
              "RELATIVE = re.compile(r\"^\\+(\\d+)([dw])$\")\n"
              "\n"
              "\n"
              "def parse_due(text, today=None):\n"
              "    \"\"\"Reads a due date: an ISO date, \"today\", \"tomorrow\", \"+3d\" or "
              "\"+2w\".\"\"\"\n"
              "    today = today or date.today()\n"
              "    if text == \"today\":\n"
              "        return today\n"
              "    if text == \"tomorrow\":\n"
              "        return today + timedelta(days=1)\n"
              "    match = RELATIVE.match(text)\n"
              "    if match:\n"
              "        count, unit = int(match.group(1)), match.group(2)\n"
              "        return today + timedelta(days=count * (7 if unit == \"w\" else 1))\n"
              "    return date.fromisoformat(text)\n");
        commit(first, {2, 8}, "Parse relative due dates like +3d");
        oneOffRoot_ = idOf(repo_, "find the one-off stack", "@-", "change_id");

        // The same line that the teammate is about to change on trunk.
        const std::string_view second = "commit the README note";
        edit(second, repo_, "README.md", "Settings live in `~/.tally.toml`.\n",
             "Settings live in `~/.tally.toml`. Due dates may also be written as `today`,\n"
             "`tomorrow`, `+3d` or `+2w`.\n");
        commit(second, {2, 7}, "Mention relative due dates in the README");
    }

    void teammatePushes() {
        run("clone origin for the teammate",
            {"git", "clone", "--quiet", origin_.string(), clone_.string()});

        const std::string_view noColor = "teammate pushes to render-colors";
        gitAsTeammate(noColor, {2, 3}, {"checkout", "--quiet", "render-colors"});
        edit(noColor, clone_, "tally/render.py", "from datetime import date\n",
             "import os\nfrom datetime import date\n");
        edit(noColor, clone_, "tally/render.py", "RED = \"\\033[31m\"\nRESET = \"\\033[0m\"\n",
             "COLOUR = \"NO_COLOR\" not in os.environ\n"
             "RED = \"\\033[31m\" if COLOUR else \"\"\n"
             "RESET = \"\\033[0m\" if COLOUR else \"\"\n");
        gitAsTeammate(noColor, {2, 3},
                      {"commit", "--quiet", "-a", "-m", "Respect NO_COLOR in the task table"});
        gitAsTeammate(noColor, {2, 3}, {"push", "--quiet", "origin", "render-colors"});

        const std::string_view theme = "teammate pushes mira/dark-mode";
        gitAsTeammate(theme, {1, 9},
                      {"checkout", "--quiet", "-b", "mira/dark-mode", "origin/main"});
        write(theme, clone_, "tally/themes.py",
              "\"\"\"Colour themes for the task table.\"\"\"\n"
              "\n"
              "THEMES = {\n"
              "    \"light\": {\"header\": \"\\033[1m\", \"overdue\": \"\\033[31m\", \"reset\": "
              "\"\\033[0m\"},\n"
              "    \"dark\": {\"header\": \"\\033[1;37m\", \"overdue\": \"\\033[1;91m\", "
              "\"reset\": \"\\033[0m\"},\n"
              "}\n"
              "\n"
              "\n"
              "def theme(name=\"light\"):\n"
              "    return THEMES.get(name, THEMES[\"light\"])\n");
        gitAsTeammate(theme, {1, 9}, {"add", "tally/themes.py"});
        gitAsTeammate(theme, {1, 9}, {"commit", "--quiet", "-m", "Add a dark colour theme"});
        gitAsTeammate(theme, {1, 9}, {"push", "--quiet", "origin", "mira/dark-mode"});

        const std::string_view trunk = "teammate moves main";
        gitAsTeammate(trunk, {1, 6}, {"checkout", "--quiet", "main"});
        edit(trunk, clone_, "README.md", "Settings live in `~/.tally.toml`.\n",
             "Settings live in `$XDG_CONFIG_HOME/tally/config.toml`; an old `~/.tally.toml` "
             "is still read.\n");
        gitAsTeammate(trunk, {1, 6},
                      {"commit", "--quiet", "-a", "-m", "Read settings from XDG_CONFIG_HOME"});
        gitAsTeammate(trunk, {1, 6}, {"push", "--quiet", "origin", "main"});
    }

    void catchUpWithOrigin() {
        // main and render-colors follow origin; mira/dark-mode arrives
        // untracked, as every new remote bookmark does.
        jj("fetch from origin", {1, 5}, {"git", "fetch"});
        // Put render-colors back where it was, so that the teammate's commit is
        // one that origin has and the local bookmark has not taken yet.
        jj("leave render-colors behind origin", {1, 5},
           {"bookmark", "set", "render-colors", "--allow-backwards", "-r",
            commitIDRevset(renderColorsTip_)});
        // The one-off moves onto the new trunk, where its README line collides
        // with the teammate's: its top commit is left conflicted.
        jj("rebase the one-off onto the new trunk", {1, 4},
           {"rebase", "-s", "change_id(" + oneOffRoot_ + ")", "-d", "main"});
    }

    void buildExportStack() {
        jj("start sqlite-export", {1, 2}, {"new", "storage-sqlite"});
        const std::string_view first = "commit the CSV export";
        write(first, repo_, "tally/export.py",
              "import csv\n"
              "import sys\n"
              "\n"
              "\n"
              "def export_csv(tasks, out=sys.stdout):\n"
              "    writer = csv.writer(out)\n"
              "    writer.writerow([\"number\", \"title\", \"due\", \"done\"])\n"
              "    for task in tasks:\n"
              "        writer.writerow([task.number, task.title, task.due or \"\", \"yes\" if "
              "task.done else \"no\"])\n");
        edit(first, repo_, "tally/cli.py", "    done.add_argument(\"number\", type=int)\n",
             "    done.add_argument(\"number\", type=int)\n"
             "    commands.add_parser(\"export\", help=\"write all tasks as CSV\")\n");
        commit(first, {1, 1}, "Export tasks as CSV");

        const std::string_view second = "commit the export filter";
        edit(second, repo_, "tally/export.py", "def export_csv(tasks, out=sys.stdout):\n",
             "def export_csv(tasks, out=sys.stdout, since=None):\n");
        edit(second, repo_, "tally/export.py", "    for task in tasks:\n",
             "    for task in tasks:\n"
             "        if since and (task.due is None or task.due < since):\n"
             "            continue\n");
        commit(second, {0, 20}, "Add a --since filter to the export");
        jj("create the sqlite-export bookmark", {0, 20},
           {"bookmark", "create", "sqlite-export", "-r", "@-"});
    }

    void editDefaultWorkingCopy() {
        const std::string_view step = "edit the default working copy";
        edit(step, repo_, "tally/export.py", "    writer = csv.writer(out)\n",
             "    writer = csv.writer(out, lineterminator=\"\\n\")\n");
        write(step, repo_, "tests/test_export.py",
              "import io\n"
              "\n"
              "from tally.export import export_csv\n"
              "from tally.storage import Task\n"
              "\n"
              "\n"
              "def test_rows_end_with_a_plain_line_feed():\n"
              "    out = io.StringIO()\n"
              "    export_csv([Task(1, \"Water the plants\")], out)\n"
              "    assert out.getvalue() == \"number,title,due,done\\n1,Water the "
              "plants,,no\\n\"\n");
        jj(step, {0, 3}, {"status"});  // records the edits in the working-copy commit
    }

    void composeIntegrationWorkspace() {
        jj("add the integration workspace", {0, 2},
           {"workspace", "add", "--name", std::string(workspaceName), "-r", "main",
            integration_.string()});
        const std::string_view compose = "create the composition point";
        jjIn(integration_, compose, {0, 2},
             {"new", "-m", "wip: Vorda composition " + std::string(workspaceName),
              bookmarkTipRevset("render-colors"), bookmarkTipRevset("sqlite-export")});
        compositionChangeID_ = idOf(integration_, compose, "@", "change_id");
        jjIn(integration_, "start work on the composition point", {0, 1}, {"new"});

        const std::string_view step = "edit the integration working copy";
        write(step, integration_, "NOTES.md",
              "# Trying the export with colours\n"
              "\n"
              "- `tally export --since 2024-06-01` keeps the header row\n"
              "- overdue rows are red in `tally list`, plain with NO_COLOR\n");
        jjIn(integration_, step, {0, 0}, {"status"});
    }

    void recordSettings() const {
        const std::string_view step = "record the composition point in Vorda-settings.json";
        try {
            BookmarkSettingsStore store(repo_);
            store.setCompositionPoint(compositionChangeID_, std::string(workspaceName));
            auto storage = BookmarkSettings::defaultFor(BookmarkOrigin::upstream("origin"));
            storage.tags = {"backend"};
            storage.columnVisible = true;
            store.set(storage, "storage-sqlite");
            auto render = BookmarkSettings::defaultFor(BookmarkOrigin::upstream("origin"));
            render.tags = {"ui"};
            render.columnVisible = true;
            store.set(render, "render-colors");
        } catch (const std::system_error& error) {
            fail(step, error.what());
        }
    }

    fs::path repo_;
    fs::path origin_;
    fs::path integration_;
    fs::path clone_;
    std::chrono::system_clock::time_point now_;
    Identity me_;
    bool recordIdentity_ = false;
    std::string renderColorsTip_;
    std::string oneOffRoot_;
    std::string compositionChangeID_;
};

// An absent directory is created; an empty one is used; anything else is
// refused before a single file is written.
void prepareDirectory(const fs::path& directory) {
    std::error_code error;
    const auto status = fs::status(directory, error);
    if (fs::exists(status)) {
        if (!fs::is_directory(status)) {
            fail("check the target directory",
                 directory.string() + " exists and is not a directory");
        }
        const bool empty = fs::is_empty(directory, error);
        if (error) {
            fail("check the target directory",
                 "cannot look into " + directory.string() + ": " + error.message());
        }
        if (!empty) {
            fail("check the target directory", directory.string() + " exists and is not empty");
        }
        return;
    }
    if (!fs::create_directories(directory, error) || error) {
        fail("check the target directory",
             "cannot create " + directory.string() + ": " + error.message());
    }
}

}  // namespace

void createDemoRepository(const std::string& directory) {
    const fs::path root = fs::absolute(directory).lexically_normal();
    prepareDirectory(root);
    DemoBuilder(root).build();
}

std::string demoRepositoryPath(const std::string& directory) {
    return (fs::absolute(directory).lexically_normal() / "repo").string();
}

}  // namespace vorda
