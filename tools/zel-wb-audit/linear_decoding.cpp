#include "attacks.h"
namespace zel_audit {
std::vector<Outcome> run_lda(Target&, const Settings&, const std::vector<uint8_t>&) { return {}; }
}
