// core_target.h: the core under audit as a Target, driven only through
// the boundary of wb_core.h (wb_enc / wb_dec entry points, working block of
// wb_work_size bytes from malloc) and its table section zel_wb_tables.
//
// The key given is the protected form the core's key setup takes. The
// encryptor and decryptor are set up with the key-only setup once; each
// block then continues the CBC chain, which the target cancels: it XORs
// the previous ciphertext into the plaintext (encryptor) or out of the
// decrypted block (decryptor), so that callers see the AES block function.
#ifndef ZEL_WB_AUDIT_CORE_TARGET_H
#define ZEL_WB_AUDIT_CORE_TARGET_H

#include <cstdint>
#include <memory>
#include <vector>

#include "target.h"

namespace zel_audit {

// table_section returns the core's static tables, made writable for fault
// injection (the whole program's zel_wb_tables section).
Region table_section();

std::unique_ptr<Target> make_core_target(bool decryptor,
                                         const std::vector<uint8_t>& key);

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_CORE_TARGET_H
