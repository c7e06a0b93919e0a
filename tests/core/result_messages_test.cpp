// result_messages.cpp: the words of the result codes.
#include <string>

#include "support/support.hpp"

using zeb::plexa::result_message;

namespace {

std::string message(const char* signature, int code) {
  char text[160];
  const unsigned n = result_message(signature, code, text, sizeof text);
  EXPECT_EQ(n, std::string(text).size());
  return text;
}

}  // namespace

TEST(ResultMessages, NameTheArgumentAndTheReason) {
  const char* medit = "medit_output(path, pos, first, last, types)";
  EXPECT_EQ(message(medit, -3), "argument 3 (first): a block does not fit its element type or names a missing node");
  EXPECT_EQ(message(medit, -1), "argument 1 (path): the file cannot be opened or written");
  EXPECT_EQ(message(medit, 0), "success");
  EXPECT_EQ(message(medit, 12), "success");
  EXPECT_EQ(message(medit, -199), "out of memory");
  EXPECT_EQ(message(medit, -250), "failure -250");
  // No reason in the table: the position rule alone.
  EXPECT_EQ(message("translate(pos, T, nodes)", -3), "argument 3 (nodes): invalid value");
  // Deliberate departures name the argument they are about.
  EXPECT_EQ(message("merge(pos, nodes1, nodes2, new_IDs, tolerance)", -4),
            "argument 4 (tolerance): negative or not a number");
  EXPECT_EQ(message("merge(pos, first, last, new_IDs, tolerance, mode)", -5),
            "argument 5 (tolerance): negative or not a number");
  // A whole-signature entry wins over the one for all overloads.
  EXPECT_EQ(message("merge(pos, nodes1, nodes2, new_IDs, tolerance)", -3),
            "argument 3 (nodes2): a node index is not below the node count");
  EXPECT_EQ(message("merge(pos, first, last, tolerance, mode)", -3), "argument 3 (last): first is after last");
  // A bare name, an unknown function, no signature: reasons without names.
  EXPECT_EQ(message("clip", -5), "argument 5: its row count differs from the connectivity's");
  EXPECT_EQ(message("shape_qualities(pos, connect, type, metrics, qualities)", -4),
            "argument 4 (metrics): not one valid metric per node (3 rows in 2-D, 6 in 3-D, finite and positive "
            "definite)");
  EXPECT_EQ(message("bound_metric_gradations(pos, connect, type, nodes, frozen, mode, g, H)", -7),
            "argument 7 (g): negative or not a number");
  EXPECT_EQ(message("no_such_function(a)", -1), "argument 1 (a): invalid value");
  EXPECT_EQ(message(nullptr, -2), "argument 2: invalid value");
  // A reader's code about what the file holds: the reason alone.
  EXPECT_EQ(message("medit_input(path, pos, connect, ranges, types, refs)", -3),
            "the file is truncated or malformed");
  EXPECT_EQ(message("medit_input(path, pos, connect, ranges, types, refs)", -1),
            "argument 1 (path): the file cannot be opened or read");
  // What a reader found in its file is no argument.
  EXPECT_EQ(message("STL_input(path, pos, connect)", -3), "malformed or truncated STL file");
  EXPECT_EQ(message("STL_input(path, pos, connect)", -1), "argument 1 (path): the file cannot be opened");
  EXPECT_EQ(message("STL_input(f, pos, connect)", -1),
            "argument 1 (f): the stream is null, in error or cannot be positioned");
}

TEST(ResultMessages, CutToTheBufferLikeSnprintf) {
  char text[8] = "xxxxxxx";
  EXPECT_EQ(result_message("f(a)", -199, text, sizeof text), 13u);
  EXPECT_STREQ(text, "out of ");
  EXPECT_EQ(result_message("f(a)", -199, text, 1), 13u);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(result_message("f(a)", -199, nullptr, 0), 13u);
}
