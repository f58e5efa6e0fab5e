#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "tests/support/at_once.h"
#include "tests/support/tree_text.h"
#include "zqcore27/blocks/sb_tree_child_iterator.h"
#include "zqcore27/blocks/sb_tree_error.h"

namespace {

using Inspector = SBTreeInspector;

constexpr std::uint32_t NONE = SBTree::IDX_NONE;

const char* const SPEC = "- - - 0:1 - 2:3,4:4";  // the root 5 has 2, 3 and 4, node 3 has 0 and 1

// The model of the fuzz target repairs trees of any words; here stand the ends of their range.
TEST(SBTreeTest, RepairsRunsAfterAnInsertAndADelete) {
  const struct {
    int line;
    const char* before;
    char change;  // 'i'nsert, 'd'elete
    std::uint32_t idx;
    const char* after;
    std::uint32_t root;
  } ROWS[] = {
      {__LINE__, "- - - - - - - - - 3:8 5:8,6:8 2:4 5:5 5:5,7:7,5:5,1:2 9:13", 'd', 5,
       "- - - - - - - - 3:7 5:7,5:7 2:4 - 6:6,1:2 8:12", 13},
      {__LINE__, "- 0:0 0:0 0:0,1:1 0:0,0:1 0:4", 'd', 0, "- - 0:0 0:0 0:3", 4},  // below 0 there is no index
      {__LINE__, "-", 'd', 0, "", NONE},
      {__LINE__, "- 0:0", 'd', 0x80000000, "- 0:0", 1},
      {__LINE__, "- 0:0", 'i', 0x80000000, "- 0:0", 1},
      {__LINE__, "- - .:.,4000000000:. 8:3,1:9 0:0", 'i', 1, "- - - .:.,4000000001:. 9:4,2:10 0:0", 5},
      {__LINE__, "- - .:.,1:. 8:3,1:9 0:0", 'd', 1, "- .:.,1:. 1:8 0:0", 3},  // a reversed run goes
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    SBTree tree{SupaBlockHints()};
    buildTree(tree, row.before);
    row.change == 'd' ? tree.deleteNode(row.idx) : tree.buildTreeNodeInsert(row.idx, nullptr, 0);
    EXPECT_EQ(treeText(tree), row.after);
    EXPECT_EQ(tree.getRootNodeIdx(), row.root);
  }
}

/// Records impacts, and writes into the root at a delete what `odd` holds.
struct Tapped : SBTree {
  using SBTree::SBTree;
  bool call(const SupaBlockEvent& event) override {
    const bool answer = SBTree::call(event);
    if (event.fKind == SupaBlockEvent::SB_EVENT_IMPACT) {
      log += std::to_string(event.fIndex) + ".." + std::to_string(event.fLastIndex) + " ";
      put(*this, 0, {1, 1});  // refused
    } else if (event.fKind == SupaBlockEvent::SB_EVENT_DELETE && !odd.empty()) {
      event.fSource->replace(static_cast<std::int32_t>(getRootNodeIdx()) - 1, bytesOf(odd),
                             static_cast<unsigned int>(odd.size() * 4));
    }
    return answer;
  }
  std::string log;
  Words odd;
};

TEST(SBTreeTest, TellsOfEachRunThatGoes) {
  Tapped tree{SupaBlockHints()};
  buildTree(tree, "- - - - - - 5:5,1:2,5:5,5:5 2:5,5:5 0:7");
  tree.deleteNode(5);
  EXPECT_EQ(tree.log, "5..8 6..7 6..7 6..7 7..7 ");
  EXPECT_EQ(treeText(tree), "- - - - - 1:2 2:4 0:6");
}

TEST(SBTreeTest, StepsOverWhatIsNoRun) {
  for (const Words& odd : {Words{0, 0, 65536}, Words{65536}}) {
    Tapped tree{SupaBlockHints()};
    buildTree(tree, "- - - - 0:3 0:4");
    tree.odd = odd;
    tree.deleteNode(3);
    SBTreeChildIterator it(tree, 3);
    EXPECT_EQ(*it, odd.size() == 1 ? NONE : 0);
    EXPECT_EQ(*++it, NONE);
    tree.odd.clear();
    tree.buildTreeNodeInsert(0, nullptr, 0);
    EXPECT_EQ(treeText(tree), odd.size() == 1 ? "- - - - 65536 1:4" : "- - - - 1:1,65536 1:4");
    tree.deleteNode(1);
    EXPECT_EQ(treeText(tree), "- - - 65536 1:3");
  }
}

bool knowsRight(SBTree& tree, const SBTreeIterator& it) {
  return Inspector::knowsRight(it, SupaBlockInspector::handles(*Inspector::store(tree)));
}

/// Reads at each impact, when blocks are about to move.
struct Nosy : SBTree {
  using SBTree::SBTree;
  bool call(const SupaBlockEvent& event) override {
    const bool answer = SBTree::call(event);
    if (event.fKind == SupaBlockEvent::SB_EVENT_IMPACT) {
      const bool lends = it->isAParent();
      EXPECT_FALSE(lends && event.fIndex <= 1) << "its own block is among those that move";
      EXPECT_EQ(it->nextSibling(), sibling);
      for (std::uint32_t i = 0; i < 4; ++i) {
        for (SBTreeChildIterator child(*this, i); *child != NONE; ++child) EXPECT_LT(*child, 4u);
        indexIsAParent(i);
      }
    }
    return answer;
  }
  SBTreeIterator* it = nullptr;
  std::uint32_t sibling = NONE;
};

TEST(SBTreeTest, LendsNoBlockThatIsAboutToMove) {
  Nosy tree{SupaBlockHints()};
  SBTreeIterator it(&tree);
  tree.it = &it;
  buildTree(tree, "- 0:0 - 0:2");
  EXPECT_TRUE(it.moveToDFIndex(1));
  const std::vector<unsigned char> runs(40000);
  for (const unsigned count : {5000u, 1u, 0u}) {  // the body grows, the block behind moves down
    tree.buildTreeNode(2, runs.data(), count);
    EXPECT_EQ(it.nextSibling(), 2u);
    EXPECT_EQ(it.isAParent(), count != 0);
    EXPECT_EQ(it.prevSibling(), 1u);
  }

  Nosy upward{SupaBlockHints()};  // node 0 is the parent of 1 to 3, and stays where it is when one of them grows
  SBTreeIterator below(&upward);
  upward.it = &below;
  buildTree(upward, "1:3 - - - 0:0");
  EXPECT_TRUE(below.moveToDFIndex(1) && !below.isAParent());
  upward.sibling = 2;
  put(upward, 1, {0, 0});
  EXPECT_TRUE(knowsRight(upward, below));
}

/// An iterator that is moved by letters, from newIter on; `run` gives the results.
class Script {
 public:
  explicit Script(SBTree& tree) : fTree(tree), fIt(dynamic_cast<SBTreeIterator*>(tree.newIter())) {}

  std::string run(const char* moves) {
    std::string results;
    while (*moves != '\0') {
      const auto& [number, move] = MOVES.at(*moves++);
      char* end = nullptr;
      const auto idx = static_cast<std::uint32_t>(std::strtoul(moves, &end, 10));
      if (number) moves = end;
      const std::string result = move(*fIt, fTree, idx);
      results += (results.empty() || result.empty() ? "" : " ") + result;
    }
    return results;
  }

 private:
  using Move = std::function<std::string(SBTreeIterator&, SBTree&, std::uint32_t)>;
  static std::string yes(bool answer) { return answer ? "yes" : "no"; }

  static inline const std::map<char, std::pair<bool, Move>> MOVES = {
      // takes a number; the last four change the tree
      {'n', {false, [](auto& it, auto&, auto) { return indexText(it.nextDFNode(false)); }}},
      {'s', {false, [](auto& it, auto&, auto) { return indexText(it.nextDFNode(true)); }}},
      {'p', {false, [](auto& it, auto&, auto) { return indexText(it.parentNode()); }}},
      {'f', {false, [](auto& it, auto&, auto) { return indexText(it.firstChildNode()); }}},
      {'l', {false, [](auto& it, auto&, auto) { return indexText(it.lastChildNode()); }}},
      {'>', {false, [](auto& it, auto&, auto) { return indexText(it.nextSibling()); }}},
      {'<', {false, [](auto& it, auto&, auto) { return indexText(it.prevSibling()); }}},
      {'c', {false, [](auto& it, auto&, auto) { return indexText(it.nextClone()); }}},
      {'i', {false, [](auto& it, auto&, auto) { return indexText(it.getNodeIndex()); }}},
      {'d', {false, [](auto& it, auto&, auto) { return indexText(it.getNodeDepth()); }}},
      {'P', {false, [](auto& it, auto&, auto) { return yes(it.isAParent()); }}},
      {'C', {false, [](auto& it, auto&, auto) { return yes(it.isAClone()); }}},
      {'m', {true, [](auto& it, auto&, auto idx) { return yes(it.moveToDFIndex(idx)); }}},
      {'a', {true, [](auto& it, auto&, auto idx) { return yes(it.isADescendant(static_cast<std::int32_t>(idx))); }}},
      {'+', {true, [](auto&, auto& tree, auto idx) { return tree.buildTreeNodeInsert(idx, nullptr, 0), ""; }}},
      {'-', {true, [](auto&, auto& tree, auto idx) { return tree.deleteNode(idx), ""; }}},
      {'r', {true, [](auto&, auto& tree, auto idx) { return put(tree, idx, {}), ""; }}},
      {'x', {false, [](auto&, auto& tree, auto) { return tree.clearTreeNodes(), ""; }}},
  };

  SBTree& fTree;
  std::unique_ptr<SBTreeIterator> fIt;
};

TEST(SBTreeIteratorTest, MovesAlongPaths) {
  const char* const shared = "- - 0:1 0:1 2:3";  // nodes 0 and 1 under both 2 and 3
  const struct {
    int line;
    const char *tree, *terminators, *clones, *moves, *results;
  } ROWS[] = {
      {__LINE__, SPEC, nullptr, nullptr, "idPCnnidnnnnidn", ". 0 yes yes 2 3 3 1 0 1 4 . . 0 2"},
      {__LINE__, SPEC, nullptr, nullptr, "m1a5a3a1a4>ppa1", "yes yes yes yes no . 3 . no"},
      {__LINE__, SPEC, nullptr, nullptr, "m0m3m4m2idm2", "yes no yes no . 0 yes"},  // never back; the end starts over
      {__LINE__, shared, "0010", "1000", "nPnPnPCfnn>", "2 no 3 yes 0 yes yes . 1 . ."},
      {__LINE__, "- - 0:0 1:2 3:3", nullptr, "001", "CnCnCnCnC", "no 3 no 1 no 2 yes 0 yes"},  // and all below one
      {__LINE__, SPEC, "11111111", "11111111", "PCnPC", "yes no 2 no yes"},  // the root's bits are cleared
      // Changes below the iterator, on its path, at its node, and of its parent.
      {__LINE__, SPEC, nullptr, nullptr, "m1-2ipn", "yes 1 2 0"},
      {__LINE__, "- - - 0:0,1:1,2:2", nullptr, nullptr, "nn-0in", "0 1 0 1"},  // a run in front of its own went
      {__LINE__, SPEC, nullptr, "11111111", "+0C", "no"},
      {__LINE__, SPEC, nullptr, nullptr, "m1r3>npn", "yes . 4 . ."},
      {__LINE__, SPEC, nullptr, nullptr, "m4-5-4-3-2-1-0ni", "yes . ."},
      {__LINE__, SPEC, nullptr, nullptr, "m0xi>nP", "yes 0 . . no"},  // nothing of the old store is read
      // Broken order: nodes that don't exist, reversed runs, circles.
      {__LINE__, "- 4:2,0:0", nullptr, nullptr, "n>l<", "4 . . ."},
      {__LINE__, "- 0:1", nullptr, nullptr, "nnfnm7", "0 1 0 1 no"},  // circles stop walks, not moves
      {__LINE__, "- 2:0 1:1", nullptr, nullptr, "nnn", "1 2 ."},
      {__LINE__, "0:2 0:2 0:2", nullptr, nullptr, "m9m2m0m9", "no yes yes no"},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    SBTree tree{SupaBlockHints()};
    buildTree(tree, row.tree);
    if (row.terminators != nullptr) tree.terminatorHints(Bitmap(String(row.terminators)));
    if (row.clones != nullptr) tree.cloneHints(Bitmap(String(row.clones)));
    EXPECT_EQ(Script(tree).run(row.moves), row.results);
  }
}

TEST(SBTreeTest, StandsAloneWithoutNodesAndWithoutAStore) {
  SBTree bare;
  SBTreeChildData data;
  bare.deleteNode(0);
  EXPECT_FALSE(bare.treeData(0, &data) || bare.indexIsAParent(0));
  EXPECT_EQ(*SBTreeChildIterator(bare, 0), NONE);
  EXPECT_EQ(Script(bare).run("idnPCfl><pc"), ". . . no no . . . . . .");
  EXPECT_EQ(Inspector::store(bare), nullptr);
  bare.getSBHints()->fAvgRuns = 1;
  put(bare, 2, {0, 1});  // makes the store
  EXPECT_EQ(treeText(bare), "- - 0:1");

  SBTree tree{SupaBlockHints()};
  EXPECT_EQ(tree.getSBHints()->fAvgRuns, 2u);
  SupaBlock& store = *Inspector::store(tree);
  EXPECT_TRUE(SupaBlockInspector::targetBody(store) == 32064 && SupaBlockInspector::directoryMask(store) == 3);
  EXPECT_EQ(SupaBlockInspector::hints(store).fMaxBodySize, 0x40000000u);
  Script script(tree);
  EXPECT_EQ(script.run("idn"), ". . .");
  buildTree(tree, SPEC);
  EXPECT_TRUE(SupaBlockInspector::superBlocks(store)[0]->fDirectory && store.get(-1, &data));  // not SB_LINEAR
  tree.setRootNodeIdx(0x80000000u);
  EXPECT_EQ(script.run("nnid"), ". . . .");
  tree.setRootNodeIdx(77);
  EXPECT_EQ(script.run("nnidPs"), "77 . . 0 no .");
  EXPECT_FALSE(tree.call(SupaBlockEvent()));
}

TEST(SBTreeTest, GivesRunsAndChildren) {
  SBTree tree{SupaBlockHints()};
  buildTree(tree, "- - - - 2:3,1:1 4:2,0:0");
  const auto children = [&tree](std::uint32_t idx) {
    std::string text;
    SBTreeChildIterator it(tree, idx);
    for (int n = 0; n < 5; ++n) text += indexText(*(n % 2 == 0 ? it++ : ++it)) + " ";
    return indexText(*SBTreeChildIterator(tree, idx)) + " " + text;
  };
  EXPECT_EQ(children(4) + children(5), "2 3 1 . . . 4 0 . . . . ");
  SBTreeChildData data;
  EXPECT_TRUE(tree.treeData(4, &data));
  for (const std::uint32_t none : {6u, 0x80000000u, NONE}) {
    EXPECT_EQ(children(none), ". . . . . . ");
    EXPECT_FALSE(tree.treeData(none, &data) || tree.treeData(4, nullptr));
    EXPECT_EQ(data.size(), 4u);
  }
  EXPECT_TRUE(tree.treeData(0, &data) && data.size() == 0 && data.firstIndex() == nullptr);

  EXPECT_TRUE(!tree.indexIsAParent(0) && tree.indexIsAParent(4) && !tree.indexIsAParent(6));
  const Bitmap hints(String("000011"));
  tree.terminatorHints(hints);
  EXPECT_TRUE(tree.indexIsAParent(0) && !tree.indexIsAParent(4) && tree.indexIsAParent(5));
  EXPECT_TRUE(tree.indexIsAParent(600) && !tree.indexIsAParent(0x80000000));  // behind the set, and no node
  EXPECT_TRUE(hints.state(5));

  // A count whose bytes don't fit 32 bits isn't cut.
  const Words runs(2);
  EXPECT_EQ(storeErrorOf([&] { tree.buildTreeNode(0, bytesOf(runs), 0x20000001); }), SupaBlockError::CANNOT_DIVIDE);
  EXPECT_EQ(storeErrorOf([&] { tree.buildTreeNodeInsert(6, bytesOf(runs), NONE); }), SupaBlockError::BLOCK_TOO_LARGE);
  EXPECT_EQ(treeText(tree), "- - - - 2:3,1:1 4:2,0:0");
  EXPECT_STREQ(SBTreeError(1, false).module(), "Super Block Tree");
}

TEST(SBTreeIteratorTest, ComparesAndTakesOverPlaces) {
  SBTree tree{SupaBlockHints()}, other{SupaBlockHints()};
  for (SBTree* each : {&tree, &other}) buildTree(*each, "- 0:0 0:0 1:2");
  SBTreeIterator a(&tree), b(&tree), far(&other);
  EXPECT_TRUE(a == b);
  a.moveToDFIndex(0);
  EXPECT_FALSE(a == b);
  b = a;
  TreeIterator& base = b;
  EXPECT_TRUE(a == b && a == base && base == a && a.getNodeIndex() == b.getNodeIndex());
  b.nextClone();
  EXPECT_TRUE(a != b && a.getNodeIndex() == b.getNodeIndex());  // one node by two parents
  far.moveToDFIndex(0);
  EXPECT_FALSE(a == far);
  far = base;
  EXPECT_TRUE(far == b && Inspector::iterators(tree) == 3 && Inspector::iterators(other) == 0);
  tree.buildTreeNodeInsert(0, nullptr, 0);
  EXPECT_EQ(far.getNodeIndex(), 1u);
  const std::unique_ptr<TreeIterator> made(far.vConstruct());
  EXPECT_TRUE(made->getNodeDepth() == NONE && !(*made == far));
}

TEST(SBTreeIteratorTest, KnowsNoBlockOfAnotherTreeAndNoneThatWent) {
  SBTree tree{SupaBlockHints()}, other{SupaBlockHints()};
  buildTree(tree, "- 0:0 1:1 1:2");
  buildTree(other, "- - 1:1 2:2");
  SBTreeIterator it(&tree), start(&other);
  it.moveToDFIndex(0);
  it = start;
  EXPECT_TRUE(it.moveToDFIndex(2) && it.nextDFNode(false) == 1 && !it.isAParent());
  EXPECT_TRUE(knowsRight(other, it));
  EXPECT_EQ(it.parentNode(), 2u);
  other.clearTreeNodes();
  EXPECT_TRUE(Inspector::knowsRight(it, {})) << "below its node neither";
}

TEST(SBTreeIteratorTest, AsksTheLeftOneOfTwoClasses) {
  struct Foreign : TreeIterator {  // as a host would write it, if only its operators matter
    bool operator==(TreeIterator& other) override;
  };
  static_assert(requires(SBTreeIterator & a, Foreign & x) { a == x, x == a, a != x, x != a, x == x; });
  struct Own : SBTreeIterator {
    explicit Own(SBTree* tree, bool answer) : SBTreeIterator(tree), fAnswer(answer) {}
    bool operator==(TreeIterator&) override { return fAnswer; }
    bool fAnswer;
  };
  SBTree tree{SupaBlockHints()}, other{SupaBlockHints()};
  SBTreeIterator there(&other);
  Own yes(&tree, true), no(&tree, false);
  TreeIterator &base = yes, &thereToo = there;
  EXPECT_TRUE(yes == there && yes == thereToo && base == there && yes == no);
  EXPECT_TRUE(there != yes && there != base && no != yes && no != base);
}

TEST(SBTreeIteratorTest, RaisesOnceItIsInvalid) {
  SBTree tree{SupaBlockHints()};
  buildTree(tree, SPEC);
  SBTreeIterator good(&tree), bad(&tree), treeless(nullptr);
  bad.moveToDFIndex(1);
  bad.invalidate();
  TreeIterator& base = good;
  const std::function<void(SBTreeIterator&)> USES[] = {
      [](auto& it) { it.getNodeIndex(); },   [](auto& it) { it.nextDFNode(false); },
      [](auto& it) { it.moveToDFIndex(1); }, [&](auto& it) { (void)(it == good); },
      [](auto& it) { it.testIter(true); },   [&](auto& it) { it = base; },
      [](auto& it) { it.prevClone(); },      [](auto& it) { it.isAClone(); }};
  for (const auto& use : USES) {
    EXPECT_EQ(storeErrorOf([&] { use(bad); }), SupaBlockError::INVALID_ITERATOR);
    EXPECT_EQ(storeErrorOf([&] { use(treeless); }), SupaBlockError::INVALID_ITERATOR);
    EXPECT_EQ(storeErrorOf([&] { use(good); }), 0u);
  }
  EXPECT_TRUE(bad.isADescendant(3) && !bad.testIter(false) && !treeless.isADescendant(0));
  good = bad;  // a place, not the state
  good = treeless;
  EXPECT_TRUE(good.testIter(false) && good.getNodeIndex() == 1 && good.nextDFNode(false) == 4);
}

TEST(SBTreeTest, TakesItsIteratorsAlong) {
  static std::string log;
  struct Logged : SBTreeIterator {
    Logged(SBTree* tree, char name) : SBTreeIterator(tree), fName(name) {}
    ~Logged() override { log += fName; }
    char fName;
  };
  auto tree = std::make_unique<SBTree>(SupaBlockHints());
  for (const char name : {'a', 'b', 'c', 'd'}) {
    auto* it = new Logged(tree.get(), name);
    if (name == 'b') delete it;
  }
  tree.reset();
  EXPECT_EQ(log, "bdca");
}

TEST(SBTreeTest, LetsIteratorsComeAndGoOnOtherThreads) {
  SBTree tree{SupaBlockHints()};
  buildTree(tree, SPEC);
  atOnce(3, [&tree](int t) {
    for (int i = 0; i < 300; ++i) t == 0 ? tree.buildTreeNodeInsert(0, nullptr, 0) : SBTreeIterator(&tree).invalidate();
  });
  EXPECT_EQ(Inspector::iterators(tree), 0u);
  EXPECT_EQ(tree.getRootNodeIdx(), 305u);
}

}  // namespace
