#include "zqcore27/blocks/supa_block_header.h"

inline namespace zqcore27 {

SupaBlockHeader::SupaBlockHeader() = default;

SupaBlockHeader::SupaBlockHeader(std::int32_t size) { fBody.resize(static_cast<std::uint32_t>(size)); }

SupaBlockHeader::~SupaBlockHeader() = default;

}  // namespace zqcore27
