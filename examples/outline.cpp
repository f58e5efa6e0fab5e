// A host keeps an outline of a directory in a tree, the names in a block store beside it: outline DIRECTORY. It prints
// the outline, changes it while an iterator stands in the middle, and prints it again. At most 10,000 entries and 16
// levels are read.

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <vector>

#include "zqcore27/zqcore27.h"

constexpr std::size_t MAX_ENTRIES = 10'000;
constexpr unsigned int MAX_LEVELS = 16;

/// What is read of the disk, level by level: the children of an entry stand in a row.
struct Entry {
  String name;
  FileLocator place;  // its location is the entry's own path
  unsigned int level = 0;
  std::size_t firstChild = 0, children = 0;
};

/// Node i has its name in block i: both stores number alike, and are changed alike.
struct Outline {
  Outline(const SupaBlockHints& treeHints, SupaBlockHints nameHints)
      : tree(treeHints), names(SupaBlock::SB_DIRECTORY, nameHints) {}

  String name(std::uint32_t node) {
    SupaBlockDatum text;
    names.get(static_cast<std::int32_t>(node), &text);
    return String(reinterpret_cast<const std::uint16_t*>(text.fData));
  }
  /// With the terminator: the store rounds sizes up and forgets the exact one.
  void insertName(std::uint32_t node, const String& name) {
    const auto* text = reinterpret_cast<const unsigned char*>(name.begin());
    names.insert(static_cast<std::int32_t>(node), text, (name.size() + 1) * 2);
  }
  void setRuns(std::uint32_t node, const std::vector<std::uint32_t>& runs) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(runs.data());
    tree.buildTreeNode(node, bytes, static_cast<unsigned int>(runs.size() / 2));
  }
  void addChild(std::uint32_t parent, const String& name);
  std::uint32_t remove(std::uint32_t node);

  SBTree tree;
  SupaBlock names;
};

/// A new last child. It goes behind the last one there is, or else to 0: inside another parent's run it would become a
/// child there, too.
void Outline::addChild(std::uint32_t parent, const String& name) {
  SBTreeChildData data;
  tree.treeData(parent, &data);
  const std::uint32_t node = data.size() == 0 ? 0 : data.firstIndex()[data.size() - 1] + 1;
  tree.buildTreeNodeInsert(node, nullptr, 0);
  insertName(node, name);
  ++parent;  // a parent stands above its children, and has moved up
  tree.treeData(parent, &data);
  std::vector<std::uint32_t> runs(std::max(data.size(), 2U), node);
  std::copy_n(data.firstIndex(), data.size(), runs.begin());
  runs.back() = node;
  setRuns(parent, runs);
}

/// Removes a node and all below it. Returns how many those were; they all had lower indexes.
std::uint32_t Outline::remove(std::uint32_t node) {
  std::uint32_t removed = 0;
  while (true) {
    const std::uint32_t child = *SBTreeChildIterator(tree, node - removed);
    if (child == SBTree::IDX_NONE) break;
    removed += remove(child);
  }
  tree.deleteNode(node - removed);
  names.deleteBlock(static_cast<std::int32_t>(node - removed));
  return removed + 1;
}

/// Appends what lies in the directory `entries[parent]`. False if it can't be listed.
static bool readDirectory(std::vector<Entry>& entries, std::size_t parent) {
  const FileLocator place = entries[parent].place;
  std::vector<String> names;
  if (!place.listFiles(names)) return false;
  std::erase_if(names, [](const String& name) { return name == "." || name == ".."; });
  std::sort(names.begin(), names.end(), StringLess());
  const std::size_t room = MAX_ENTRIES - entries.size();
  if (names.size() > room) {
    std::cerr << place.location() << ": " << names.size() - room << " entries are left out\n";
    names.resize(room);
  }
  entries[parent].firstChild = entries.size();
  entries[parent].children = names.size();
  for (auto name = names.rbegin(); name != names.rend(); ++name) {  // the tree numbers backwards
    entries.push_back({*name, place, entries[parent].level + 1});
    entries.back().place.addDirEnd(*name);
  }
  return true;
}

/// Children get lower indexes than their parents, and those of one parent make one run: the entries, from the end.
static void build(const std::vector<Entry>& entries, Outline& outline) {
  for (std::size_t i = entries.size(); i-- > 0;) {
    const auto indexOf = [&](std::size_t entry) { return static_cast<std::uint32_t>(entries.size() - 1 - entry); };
    const Entry& e = entries[i];
    std::vector<std::uint32_t> runs;
    if (e.children != 0) runs = {indexOf(e.firstChild + e.children - 1), indexOf(e.firstChild)};
    outline.setRuns(indexOf(i), runs);
    outline.insertName(indexOf(i), e.name);
  }
  outline.tree.setRootNodeIdx(static_cast<std::uint32_t>(entries.size() - 1));
}

static void print(Outline& outline) {
  SBTreeIterator walk(&outline.tree);
  for (std::uint32_t node; (node = walk.nextDFNode(false)) != SBTree::IDX_NONE;) {
    std::cout << std::string(2 * walk.getNodeDepth(), ' ') << node << ' ' << outline.name(node) << '\n';
  }
}

static void change(Outline& outline, std::size_t steps) {
  SBTreeIterator walk(&outline.tree);
  walk.nextDFNode(false);  // the root, which an iterator hides
  while (steps-- > 0) walk.nextDFNode(false);
  const std::uint32_t node = walk.getNodeIndex();
  std::cout << "\nThe walk stands on " << node << ' ' << outline.name(node) << ". It gets a child,";
  outline.addChild(node, "(new)");
  SBTreeChildIterator doomed(outline.tree, outline.tree.getRootNodeIdx());
  while (*doomed != SBTree::IDX_NONE && walk.isADescendant(static_cast<std::int32_t>(*doomed))) ++doomed;
  if (*doomed != SBTree::IDX_NONE) {
    std::cout << " and " << outline.name(*doomed) << " goes with all below it:";
    std::cout << ' ' << outline.remove(*doomed) << " nodes.";
  }
  std::cout << "\nNow it stands on " << walk.getNodeIndex() << ' ' << outline.name(walk.getNodeIndex());
  const std::uint32_t next = walk.nextDFNode(false);
  std::cout << ", and goes on to " << next << ' ' << outline.name(next) << ".\n\n";
}

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  gCore->fStringDirectory = ZQCORE27_CATALOGUE_DIR;  // where the words of errors are
  CStrEnterprise words(nullptr, String(), nullptr);  // in the user's language
  try {
    const String directory(argc > 1 ? argv[1] : ".");
    std::vector<Entry> entries{{directory, FileLocator()}};
    entries[0].place.setLocation(directory == "/" ? String("//") : directory);
    if (!readDirectory(entries, 0)) {
      std::cerr << directory << ": no directory that can be listed\n";
      return 1;
    }
    for (std::size_t i = 1; i < entries.size(); ++i) {  // grows behind i
      const String path = entries[i].place.location();
      std::error_code error;
      if (!fs::is_directory(fs::symlink_status(NatString(path).begin(), error))) continue;
      if (entries[i].level == MAX_LEVELS || entries.size() == MAX_ENTRIES) {
        std::cerr << path << ": left out, the outline is large enough\n";
      } else if (!readDirectory(entries, i)) {
        std::cerr << path << ": can't be listed\n";
      }
    }
    SupaBlockHints treeHints, nameHints;
    treeHints.fAvgRuns = 1;
    nameHints.fAvgBlockSize = 32;
    Outline outline(treeHints, nameHints);
    build(entries, outline);
    print(outline);
    if (entries.size() == 1) return 0;
    change(outline, entries.size() / 2);
    print(outline);
  } catch (const Error& e) {
    std::cerr << String(e.description(&words)) << "\n";
    return 1;
  }
}
