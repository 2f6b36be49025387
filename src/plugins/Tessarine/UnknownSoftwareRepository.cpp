#include "Tessarine/UnknownSoftwareRepository.h"

namespace Tessarine {

// Defined here rather than inline so that both are exported from the library.
UnknownSoftwareRepository::UnknownSoftwareRepository() = default;

UnknownSoftwareRepository::~UnknownSoftwareRepository() = default;

} // namespace Tessarine
