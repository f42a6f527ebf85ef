// generate_main.cpp: zel-wb-generate, the build step that writes the
// white-box cores' fixed material.
//
//   zel-wb-generate --seed FILE --out-dir DIR
//
// writes DIR/wb_enc_tables.cpp (the key tables and the forward direction,
// which the encryptor core and the decryptor's re-encryption use),
// DIR/wb_dec_tables.cpp (the decryption direction) and
// DIR/wb_table_size.cpp. The only inputs are the seed
// file and this program: the same seed gives byte-identical files. The
// files name the seed file, never its content. The encodings drawn from the
// seed are wiped once their tables are written.
#include <cstdio>
#include <initializer_list>
#include <string>

#include "aes_reference.h"
#include "core_encodings.h"
#include "key_protection.h"
#include "seed_file.h"
#include "source_writer.h"
#include "table_sets.h"

namespace zel_wbgen {
namespace {

std::string base_name(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// field_order static-asserts that |type|'s fields come in the order the
// positional initialisers below write them.
std::string field_order(const std::string& type,
                        std::initializer_list<const char*> fields) {
  std::string text = "static_assert(";
  const char* previous = nullptr;
  for (const char* field : fields) {
    if (previous != nullptr)
      text += std::string(text.back() == '(' ? "" : " &&\n    ") +
              "offsetof(" + type + ", " + previous + ") < offsetof(" + type +
              ", " + field + ")";
    previous = field;
  }
  return text + ",\n    \"the runtime's " + type + " changed\");\n";
}

std::string emit_schedule(SourceWriter& w, const std::string& p,
                          const KeyScheduleSet& k, unsigned key_len) {
  const std::string n = key_len == 16 ? "128" : "256";
  return "{" +
         w.add_bytes(p + "unprotect", k.unprotect, std::to_string(key_len) + " * 256") +
         ", " + w.add_bytes(p + "sub_word", k.sub_word, "kSubWords" + n + " * 4 * 256") +
         ", " + w.add_bytes(p + "xor", k.xor_, "(kWords" + n + " - " +
                                                  std::to_string(key_len / 4) +
                                                  ") * 4 * kNibbleXorSize") +
         "}";
}

std::string emit_copy(SourceWriter& w, const std::string& p,
                      const CopyTableSet& c, bool inverse) {
  std::string text = "{";
  text += w.add_bytes(p + "entry_index", c.entry_index,
                      inverse ? "kInverseIndexSize" : "kForwardIndexSize");
  text += ", " + w.add_bytes(p + "reencode", c.reencode, "kReencodeSize");
  text += ", {" + w.add_bytes(p + "mix_xor_a", c.mix_xor[0], "kXorTableSize");
  text += ", " + w.add_bytes(p + "mix_xor_b", c.mix_xor[1], "kXorTableSize");
  text += ", " + w.add_bytes(p + "mix_xor_r", c.mix_xor[2], "kXorTableSize");
  text += "}, " + w.add_words(p + "sbox_mix", c.sbox_mix, "kSboxMixSize");
  text += ", " + w.add_bytes(p + "sbox_step", c.sbox_step, "256");
  text += ", " + w.add_bytes(p + "key_xor", c.key_xor, "kKeyXorSize");
  text += ", " + w.add_bytes(p + "out_form", c.out_form, "kPositionMapsSize");
  return text + "}";
}

const std::string kCopyOrder = field_order(
    "CopyTables", {"entry_index", "reencode", "mix_xor", "sbox_mix",
                   "sbox_step", "key_xor", "out_form"});

Copies draw_copies(ChaCha20Stream& stream, const uint8_t coefficients[4],
                   bool inverse) {
  Copies copies;
  for (DirectionEncodings& copy : copies)
    copy = draw_direction(stream, coefficients, inverse);
  return copies;
}

void wipe_copies(Copies& copies) {
  for (DirectionEncodings& copy : copies)
    zel_ref::secure_wipe(&copy, sizeof copy);
}

// The encryptor's stream gives the forward copies, the white form (which is
// also the decryptor's blue) and each copy's key schedules, whose forms of
// the expanded bytes (both cores take round keys in them) go to
// |key_forms|.
uint64_t write_encryptor(const uint8_t seed[32], const std::string& inputs,
                         const std::vector<ByteMap>& protect_128,
                         const std::vector<ByteMap>& protect_256,
                         ScheduleForms& key_forms, ByteMap& white,
                         const std::string& path, bool& ok) {
  ChaCha20Stream stream(seed, StreamPurpose::kEncryptorCore);
  Copies forward = draw_copies(stream, kMixCoefficients, false);
  for (DirectionEncodings& copy : forward) copy.entry = forward[0].entry;
  white = random_nibble_encoding(stream);

  SourceWriter w(inputs);
  std::string keys = "{";
  for (unsigned c = 0; c < kCopies; ++c) {
    std::vector<ByteMap>& forms = key_forms[c];
    forms.resize(zel_whitebox::kWords256 * 4);
    for (ByteMap& form : forms) form = random_nibble_encoding(stream);
    const std::string p = "ks" + std::to_string(c) + "_";
    keys += (c ? ", {" : "{") +
            emit_schedule(w, p + "128_", build_key_schedule(stream, protect_128, forms), 16) +
            ", " +
            emit_schedule(w, p + "256_", build_key_schedule(stream, protect_256, forms), 32) +
            "}";
  }
  keys += "}";
  const ForwardTableSet set = build_forward_tables(forward, white, key_forms);
  std::string fwd =
      "{" + w.add_bytes("input_xor", set.input_xor, "kNibbleXorSize") + ", {";
  for (unsigned c = 0; c < kCopies; ++c)
    fwd += (c ? ", " : "") +
           emit_copy(w, "fwd" + std::to_string(c) + "_", set.copy[c], false);
  fwd += "}, " + w.add_bytes("fwd_vote", set.vote, "kVoteSize") + "}";
  const uint64_t bytes = w.table_bytes() + 256;
  w.close_tables();
  w.append(field_order("KeySchedule", {"unprotect", "sub_word", "xor_"}));
  w.append(field_order("KeyTables", {"aes128", "aes256"}));
  w.append(kCopyOrder);
  w.append(field_order("ForwardTables", {"input_xor", "copy", "vote"}));
  w.append("extern const KeyTables key_tables[kCopies] = " + keys + ";\n");
  w.append("extern const ForwardTables forward_tables = " + fwd + ";\n\n");
  w.append("}  // namespace zel_whitebox\n\nnamespace wb_enc {\n");
  w.append("alignas(64) const uint8_t wb_input_encoding[256] ZEL_WB_TABLE = " +
           SourceWriter::byte_list(Bytes(white.begin(), white.end())) +
           ";\n}  // namespace wb_enc\n");
  ok = w.write_file(path) && ok;
  wipe_copies(forward);
  return bytes;
}

uint64_t write_decryptor(const uint8_t seed[32], const std::string& inputs,
                         const ScheduleForms& key_forms, const ByteMap& blue,
                         const std::string& path, bool& ok) {
  ChaCha20Stream stream(seed, StreamPurpose::kDecryptorCore);
  Copies inverse = draw_copies(stream, kInvMixCoefficients, true);
  ByteMap yellow = random_encoding(stream);
  std::array<ByteMap, 16> voted, chained;
  for (unsigned i = 0; i < 16; ++i) {
    voted[i] = random_nibble_encoding(stream);
    chained[i] = random_nibble_encoding(stream);
  }

  SourceWriter w(inputs);
  const InverseTableSet set =
      build_inverse_tables(inverse, key_forms, voted, chained, yellow, blue);
  std::string inv = "{{";
  for (unsigned c = 0; c < kCopies; ++c)
    inv += (c ? ", " : "") +
           emit_copy(w, "inv" + std::to_string(c) + "_", set.copy[c], true);
  inv += "}, " + w.add_bytes("inv_vote", set.vote, "kVoteSize");
  inv += ", " + w.add_bytes("chain_xor", set.chain_xor, "kChainXorSize");
  inv += ", " + w.add_bytes("yellow", set.yellow, "kPositionMapsSize");
  inv += ", " + w.add_bytes("blue", set.blue, "kPositionMapsSize") + "}";
  const uint64_t bytes = w.table_bytes() + 256;
  w.close_tables();
  w.append(kCopyOrder);
  w.append(field_order("InverseTables",
                       {"copy", "vote", "chain_xor", "yellow", "blue"}));
  w.append("extern const InverseTables inverse_tables = " + inv +
           ";\n\n}  // namespace zel_whitebox\n\nnamespace wb_dec {\n");
  const ByteMap decoding = inverse_of(yellow);
  w.append("alignas(64) const uint8_t wb_output_decoding[256] ZEL_WB_TABLE = " +
           SourceWriter::byte_list(Bytes(decoding.begin(), decoding.end())) +
           ";\n}  // namespace wb_dec\n");
  ok = w.write_file(path) && ok;
  wipe_copies(inverse);
  zel_ref::secure_wipe(yellow.data(), yellow.size());
  zel_ref::secure_wipe(&voted, sizeof voted);
  zel_ref::secure_wipe(&chained, sizeof chained);
  return bytes;
}

bool write_table_size(const std::string& inputs, uint64_t bytes,
                      const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  std::fprintf(file,
               "// generated by zel-wb-generate from %s; do not edit, do not "
               "commit.\n#include \"wb_tables.h\"\n\nnamespace zel_wb {\n"
               "extern const uint32_t wb_generated_table_bytes = %luu;\n"
               "}  // namespace zel_wb\n",
               inputs.c_str(), static_cast<unsigned long>(bytes));
  return std::fclose(file) == 0;
}

int run(int argc, char** argv) {
  std::string seed_path, out_dir;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string flag = argv[i];
    if (flag == "--seed") seed_path = argv[i + 1];
    else if (flag == "--out-dir") out_dir = argv[i + 1];
  }
  if (seed_path.empty() || out_dir.empty() || argc != 5) {
    std::fprintf(stderr, "usage: zel-wb-generate --seed FILE --out-dir DIR\n");
    return 2;
  }
  Seed seed;
  std::string error;
  if (!read_seed_file(seed_path, seed, error)) {
    std::fprintf(stderr, "zel-wb-generate: %s\n", error.c_str());
    return 1;
  }
  const std::string inputs = "seed file " + base_name(seed_path);
  std::vector<ByteMap> protect_128 = protection_maps(seed.bytes, 16);
  std::vector<ByteMap> protect_256 = protection_maps(seed.bytes, 32);
  bool ok = true;
  ScheduleForms key_forms;
  ByteMap white;
  uint64_t bytes = write_encryptor(seed.bytes, inputs, protect_128,
                                   protect_256, key_forms, white,
                                   out_dir + "/wb_enc_tables.cpp", ok);
  bytes += write_decryptor(seed.bytes, inputs, key_forms, white,
                           out_dir + "/wb_dec_tables.cpp", ok);
  for (std::vector<ByteMap>& forms : key_forms) wipe_maps(forms);
  zel_ref::secure_wipe(white.data(), white.size());
  wipe_maps(protect_128);
  wipe_maps(protect_256);
  ok = write_table_size(inputs, bytes, out_dir + "/wb_table_size.cpp") && ok;
  if (!ok) {
    std::fprintf(stderr, "zel-wb-generate: cannot write to %s\n",
                 out_dir.c_str());
    return 1;
  }
  return 0;
}

}  // namespace
}  // namespace zel_wbgen

int main(int argc, char** argv) { return zel_wbgen::run(argc, argv); }
