// zqtool tree.

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <memory>

#include "tools/commands.h"
#include "tools/files.h"
#include "tools/tree_command_outline.h"
#include "tools/words.h"
#include "zqcore27/blocks/sb_tree.h"
#include "zqcore27/blocks/sb_tree_child_data.h"
#include "zqcore27/blocks/sb_tree_child_iterator.h"
#include "zqcore27/blocks/sb_tree_iterator.h"

namespace zqtool {
namespace {

constexpr std::uint64_t MAX_PLACES = 1'000'000;
constexpr std::size_t MAX_RUNS_WIDTH = 30;  // longer runs push their own line's name to the right

struct Options {
  std::string file = "-";
  bool dot = false;
};

void build(const TreeOutline& outline, SBTree& tree) {
  const auto count = static_cast<unsigned int>(outline.nodes.size());
  Bitmap terminators(count), clones(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    const OutlineNode& node = outline.nodes[i];
    const std::vector<std::uint32_t> runs = node.runs();
    const auto* bytes = reinterpret_cast<const unsigned char*>(runs.data());
    tree.buildTreeNode(i, bytes, static_cast<unsigned int>(runs.size() / 2));
    if (node.terminator) terminators.set(i);
    if (node.parents > 1) clones.set(i);
  }
  tree.setRootNodeIdx(count - 1);
  tree.terminatorHints(terminators);
  tree.cloneHints(clones);
}

/// As they stand in the tree, such as "3-8 11".
std::string runsOf(SBTree& tree, std::uint32_t node) {
  SBTreeChildData data;
  tree.treeData(node, &data);
  std::string text;
  for (unsigned int i = 0; i < data.size(); i += 2) {
    const std::uint32_t first = data.firstIndex()[i], last = data.firstIndex()[i + 1];
    if (i != 0) text += ' ';
    text += std::to_string(first);
    if (last != first) text += '-' + std::to_string(last);
  }
  return text;
}

std::size_t countRuns(SBTree& tree, std::uint32_t node) {
  SBTreeChildData data;
  tree.treeData(node, &data);
  return data.size() / 2;
}

void printWalk(const TreeOutline& outline, SBTree& tree) {
  const auto count = static_cast<std::uint32_t>(outline.nodes.size());
  std::size_t runsWidth = 4, runs = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    runsWidth = std::max(runsWidth, std::min(runsOf(tree, i).size(), MAX_RUNS_WIDTH));
    runs += countRuns(tree, i);
  }
  const auto indexWidth = static_cast<int>(std::max<std::size_t>(5, std::to_string(count - 1).size()));
  const auto line = [&](const auto& index, const std::string& runsText) -> std::ostream& {
    return std::cout << std::setw(indexWidth) << std::right << index << "  " << std::setw(static_cast<int>(runsWidth))
                     << std::left << runsText << "  ";
  };
  line("INDEX", "RUNS") << "NAME\n";
  std::uint64_t places = 0;
  SBTreeIterator walk(&tree);
  for (std::uint32_t i; (i = walk.nextDFNode(false)) != SBTree::IDX_NONE; ++places) {
    const OutlineNode& node = outline.nodes[i];
    line(i, runsOf(tree, i)) << std::string(2 * walk.getNodeDepth(), ' ');
    std::cout << (i == tree.getRootNodeIdx() ? "(root)" : nativeText(String::fromUTF8(node.name)));
    if (walk.isAClone()) std::cout << "  [clone]";
    if (node.terminator) std::cout << "  [terminator]";
    std::cout << '\n';
  }
  std::cout << "nodes " << count << ", runs " << runs << ", places of the walk " << places << '\n';
}

/// As a quoted text of Graphviz shows it; an ampersand would begin a character's name there.
std::string dotText(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c == '&') {
      out += "&amp;";
      continue;
    }
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out;
}

void printDot(const TreeOutline& outline, SBTree& tree) {
  std::cout << "digraph tree {\n  graph [ordering=out, charset=\"UTF-8\"];\n  node [shape=box];\n";
  for (std::uint32_t i = static_cast<std::uint32_t>(outline.nodes.size()); i-- > 0;) {
    const OutlineNode& node = outline.nodes[i];
    const std::string name = i == tree.getRootNodeIdx() ? "(root)" : dotText(node.name);
    const std::string runs = runsOf(tree, i);
    std::cout << "  n" << i << " [label=\"" << name << "\\n" << i << (runs.empty() ? "" : ": ") << runs << '"';
    if (node.parents > 1) std::cout << ", style=dashed";
    if (node.terminator) std::cout << ", peripheries=2";
    std::cout << "];\n";
    for (SBTreeChildIterator child(tree, i); *child != SBTree::IDX_NONE; ++child) {
      std::cout << "  n" << i << " -> n" << *child << (node.terminator ? " [style=dotted]" : "") << ";\n";
    }
  }
  std::cout << "}\n";
}

int fail(const std::string& file, std::size_t line, const std::string& words) {
  std::cerr << (file == "-" ? "standard input" : file);
  if (line != 0) std::cerr << ':' << line;
  std::cerr << ": " << words << '\n';
  return EXIT_ERRORS;
}

int show(const Options& o) {
  const FileBytes input = readFile(o.file);
  if (!input.fault.empty()) return fail(o.file, 0, input.fault);
  const TreeOutline outline = readTreeOutline({reinterpret_cast<const char*>(input.bytes.data()), input.bytes.size()});
  if (!outline.fault.empty()) return fail(o.file, outline.faultLine, outline.fault);
  SupaBlockHints hints;
  SBTree tree(hints);
  build(outline, tree);
  if (o.dot) {
    printDot(outline, tree);
  } else if (outline.places() > MAX_PLACES) {
    return fail(o.file, 0,
                "the walk has more than " + std::to_string(MAX_PLACES) + " places; --dot shows each node once");
  } else {
    printWalk(outline, tree);
  }
  return EXIT_GOOD;
}

}  // namespace

void addTreeCommand(CLI::App& app, int& status) {
  const auto o = std::make_shared<Options>();
  auto* c = app.add_subcommand("tree", "Show how an outline is numbered and kept as a tree of child runs");
  c->add_option("FILE", o->file, "The outline, in UTF-8; - is standard input, the default");
  c->add_flag("--dot", o->dot, "Print the tree for Graphviz, each node once, instead of its depth-first walk");
  c->footer(
      "A line of the outline is a node. Its children stand below it, indented further by blanks or by tabs; the\n"
      "lines that aren't indented hang under a root that is made up. Empty lines and lines that begin with # don't\n"
      "count. A mark may stand in front of a name:\n"
      "  !name   a terminator: walks don't enter it\n"
      "  &name   a shared node: the one that another line names, here under one more parent\n"
      "  \\name   none: the name begins with one of ! & # \\\n\n"
      "The walk shows of each place the node's index, its child runs, and [clone] where the node or one above it\n"
      "has several parents. For Graphviz such nodes are dashed, terminators have a double frame.\n\n"
      "Example: printf 'a\\n  b\\n  !c\\nd\\n  &b\\n' | zqtool tree --dot | dot -Tsvg -o tree.svg");
  c->callback([o, &status] { status = show(*o); });
}

}  // namespace zqtool
