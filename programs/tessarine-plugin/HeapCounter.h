#ifndef TESSARINE_PLUGIN_TOOL_HEAP_COUNTER_H
#define TESSARINE_PLUGIN_TOOL_HEAP_COUNTER_H

namespace TessarinePluginTool {

/// The bytes of the blocks that the process holds from malloc and its kin, as their owners would
/// free them: blocks that the allocator keeps for reuse after free do not count. Only the
/// difference of two counts means anything.
long long heapInUse();

} // namespace TessarinePluginTool

#endif
