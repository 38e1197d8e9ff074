// The ordinary way to parse a text, in one pass.

#ifndef VU_PATTERN_XML_STACK_H_
#define VU_PATTERN_XML_STACK_H_

#include "pattern/node_memory.h"

namespace vu::detail {

/// Adds the text's first elements to `parent`, as far as it is ordinary, with all that is in them.
/// Returns where the last of them ends, 0 when there is none, and `length` when all of the text has
/// been used. Throws what `NodeMaker::add` throws; what was found until then stays.
int addOrdinaryElements(xmldata& parent, const char* text, int length, NodeMaker& nodes);

}  // namespace vu::detail

#endif  // VU_PATTERN_XML_STACK_H_
