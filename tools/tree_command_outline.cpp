#include "tools/tree_command_outline.h"

#include <algorithm>
#include <limits>
#include <unordered_map>
#include <unordered_set>

#include "zqcore27/errors/error.h"
#include "zqcore27/strings/string.h"

namespace zqtool {
namespace {

constexpr std::uint32_t ROOT = 0;
constexpr std::uint32_t UNKNOWN = 0xFFFFFFFF;

struct Fault {
  std::size_t line;
  std::string words;
};

/// A child as it is written down.
struct Mention {
  std::uint32_t node;  // UNKNOWN until the name of a shared one is looked up
  std::size_t line;
  std::string sharedName;  // empty where the node is defined
};

/// A node before it has its number.
struct Draft {
  std::string name;
  bool terminator = false;
  std::vector<Mention> children;
};

bool isBlank(char c) { return c == ' ' || c == '\t'; }

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

std::string_view withoutBlanks(std::string_view text) {
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  return text;
}

/// Lines to drafts; the root is made up.
class Reader {
 public:
  Reader() : fDrafts(1), fOpen{{0, ROOT}} {}

  void readAll(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    while (!text.empty()) {
      ++fLine;
      const std::size_t end = std::min(text.find('\n'), text.size());
      readLine(text.substr(0, end));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (fDrafts[ROOT].children.empty()) throw Fault{0, "there is no node in it"};
    findShared();
  }
  std::vector<Draft>& drafts() { return fDrafts; }

 private:
  struct Level {
    std::size_t indent;
    std::uint32_t node;  // UNKNOWN for a shared one
  };
  struct Definition {
    std::uint32_t node;
    std::size_t line, secondLine = 0;
  };

  [[noreturn]] void fail(const std::string& words) const { throw Fault{fLine, words}; }

  void readLine(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    const std::string_view content = withoutBlanks(line);
    if (content.empty() || content.front() == '#') return;
    const auto indent = static_cast<std::size_t>(content.data() - line.data());
    checkIndent(line.substr(0, indent));
    const std::uint32_t parent = parentAt(indent);
    fOpen.push_back({indent, readNode(parent, content)});
  }

  void checkIndent(std::string_view indent) {
    if (indent.empty()) return;
    if (fIndentedBy == 0) fIndentedBy = indent.front();
    if (indent.find_first_not_of(fIndentedBy) != std::string_view::npos) {
      fail("tabs and blanks are mixed in the indentation");
    }
  }

  /// Closes the levels that a line ends, and returns the node under which it stands.
  std::uint32_t parentAt(std::size_t indent) {
    std::size_t closed = indent;
    while (fOpen.size() > 1 && fOpen.back().indent >= indent) {
      closed = fOpen.back().indent;
      fOpen.pop_back();
    }
    if (closed != indent) fail("the indentation is that of no line above");
    if (fOpen.back().node == UNKNOWN) fail("the children of a shared node stand where its name has no &");
    return fOpen.back().node;
  }

  /// Takes the marks off and adds the node to its parent. Returns it; UNKNOWN for a shared one.
  std::uint32_t readNode(std::uint32_t parent, std::string_view content) {
    const char mark = content.front() == '!' || content.front() == '&' ? content.front() : '\0';
    if (mark != '\0') content = withoutBlanks(content.substr(1));
    if (mark == '!' && content.starts_with('&')) fail("the mark ! belongs where the shared node's name has no &");
    if (content.starts_with('\\')) content.remove_prefix(1);
    const std::string name(content);
    checkName(name);
    if (mark == '&') {
      fDrafts[parent].children.push_back({UNKNOWN, fLine, name});
      fSharing.push_back(parent);
      return UNKNOWN;
    }
    const auto node = static_cast<std::uint32_t>(fDrafts.size());
    fDrafts.push_back({name, mark == '!', {}});
    fDrafts[parent].children.push_back({node, fLine, {}});
    const auto [known, isNew] = fByName.try_emplace(name, Definition{node, fLine});
    if (!isNew && known->second.secondLine == 0) known->second.secondLine = fLine;
    return node;
  }

  void checkName(const std::string& name) const {
    if (name.empty()) fail("a mark without a name");
    if (std::any_of(name.begin(), name.end(), isControl)) fail("a control character in the name");
    try {
      String::fromUTF8(name);
    } catch (const Error&) {
      fail("the name isn't UTF-8, or has a character beyond U+FFFF");
    }
  }

  void findShared() {
    std::sort(fSharing.begin(), fSharing.end());
    fSharing.erase(std::unique(fSharing.begin(), fSharing.end()), fSharing.end());
    for (const std::uint32_t parent : fSharing) {
      std::unordered_set<std::uint32_t> seen;
      for (Mention& m : fDrafts[parent].children) {
        fLine = m.line;
        if (!m.sharedName.empty()) m.node = definitionOf(m.sharedName);
        if (!seen.insert(m.node).second) fail("the node '" + fDrafts[m.node].name + "' stands twice under one parent");
      }
    }
  }

  std::uint32_t definitionOf(const std::string& name) const {
    const auto found = fByName.find(name);
    if (found == fByName.end()) fail("no line without & names '" + name + "'");
    const Definition& d = found->second;
    if (d.secondLine != 0) {
      fail("which '" + name + "' is meant? There is one in line " + std::to_string(d.line) + " and one in line " +
           std::to_string(d.secondLine));
    }
    return d.node;
  }

  std::vector<Draft> fDrafts;
  std::vector<Level> fOpen;  // the path to the line in hand, from the root
  std::unordered_map<std::string, Definition> fByName;
  std::vector<std::uint32_t> fSharing;  // parents of shared nodes, at first once a mention
  std::size_t fLine = 0;
  char fIndentedBy = '\0';
};

/// Gives drafts their numbers.
class Numbering {
 public:
  explicit Numbering(const std::vector<Draft>& drafts) : fDrafts(drafts), fParentsToCome(drafts.size()) {}

  /// Parents first, and so the highest numbers: a node comes when its last parent has come.
  std::vector<OutlineNode> run() {
    for (const Draft& d : fDrafts) {
      for (const Mention& m : d.children) ++fParentsToCome[m.node];
    }
    const std::vector<std::uint32_t> parents = fParentsToCome;
    std::vector<std::uint32_t> order{ROOT};
    for (std::size_t i = 0; i < order.size(); ++i) {  // grows behind i
      const auto& children = fDrafts[order[i]].children;
      for (auto m = children.rbegin(); m != children.rend(); ++m) {
        if (--fParentsToCome[m->node] == 0) order.push_back(m->node);
      }
    }
    if (order.size() < fDrafts.size()) throw circle();
    checkLevels(order);

    std::vector<std::uint32_t> numbers(fDrafts.size());
    for (std::size_t i = 0; i < order.size(); ++i) numbers[order[i]] = static_cast<std::uint32_t>(order.size() - 1 - i);
    std::vector<OutlineNode> nodes(fDrafts.size());
    for (std::size_t i = 0; i < fDrafts.size(); ++i) {
      OutlineNode& node = nodes[numbers[i]];
      node.name = fDrafts[i].name;
      node.terminator = fDrafts[i].terminator;
      node.parents = parents[i];
      for (const Mention& m : fDrafts[i].children) node.children.push_back(numbers[m.node]);
    }
    return nodes;
  }

 private:
  /// Every node that was left has a parent that was left, so the way up from any of them ends in a circle.
  Fault circle() const {
    struct Up {
      std::uint32_t parent;
      const Mention* mention;
    };
    std::vector<Up> up(fDrafts.size());
    std::uint32_t node = ROOT;
    for (std::uint32_t i = 0; i < fDrafts.size(); ++i) {
      if (fParentsToCome[i] == 0) continue;
      node = i;
      for (const Mention& m : fDrafts[i].children) up[m.node] = {i, &m};
    }
    for (std::size_t i = 0; i < fDrafts.size(); ++i) node = up[node].parent;  // into the circle
    while (up[node].mention->sharedName.empty()) node = up[node].parent;
    return {up[node].mention->line, "the node '" + fDrafts[node].name + "' would stand below itself"};
  }

  void checkLevels(const std::vector<std::uint32_t>& order) const {
    std::vector<std::uint32_t> levels(fDrafts.size());
    for (const std::uint32_t node : order) {
      for (const Mention& m : fDrafts[node].children) {
        levels[m.node] = std::max(levels[m.node], levels[node] + 1);
        if (levels[m.node] > MAX_OUTLINE_LEVELS) {
          throw Fault{m.line, "more than " + std::to_string(MAX_OUTLINE_LEVELS) + " levels"};
        }
      }
    }
  }

  const std::vector<Draft>& fDrafts;
  std::vector<std::uint32_t> fParentsToCome;  // of each draft, those without a number
};

}  // namespace

std::vector<std::uint32_t> OutlineNode::runs() const {
  std::vector<std::uint32_t> words;
  for (const std::uint32_t child : children) {
    if (!words.empty() && words.back() + 1 == child) {
      words.back() = child;
    } else {
      words.insert(words.end(), {child, child});
    }
  }
  return words;
}

std::uint64_t TreeOutline::places() const {
  constexpr std::uint64_t MAX = std::numeric_limits<std::uint64_t>::max();
  std::vector<std::uint64_t> below(nodes.size(), 1);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (nodes[i].terminator) continue;
    for (const std::uint32_t child : nodes[i].children) below[i] += std::min(below[child], MAX - below[i]);
  }
  return below.empty() ? 0 : below.back();
}

TreeOutline readTreeOutline(std::string_view text) {
  TreeOutline out;
  try {
    Reader reader;
    reader.readAll(text);
    out.nodes = Numbering(reader.drafts()).run();
  } catch (const Fault& fault) {
    out.faultLine = fault.line;
    out.fault = fault.words;
  }
  return out;
}

}  // namespace zqtool
