// generate_main.cpp: zel-wb-generate, the build step that writes the
// white-box cores' fixed material.
//
//   zel-wb-generate --seed FILE --out-dir DIR
//
// writes DIR/wb_enc_tables.cpp (encryptor core), DIR/wb_dec_tables.cpp
// (decryptor core) and DIR/wb_table_size.cpp. The only inputs are the seed
// file and this program: the same seed gives byte-identical files. The
// files name the seed file, never its content. The encodings drawn from the
// seed are wiped once their tables are written.
#include <cstdio>
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

std::string emit_key_tables(SourceWriter& w, const std::string& p,
                            const KeyTableSet& k) {
  return "{" + w.add_bytes(p + "unprotect_128", k.unprotect_128) + ", " +
         w.add_bytes(p + "unprotect_256", k.unprotect_256) + ", " +
         w.add_bytes(p + "key_xor", k.xor_) + ", " +
         w.add_bytes(p + "key_sbox", k.sbox) + ", " +
         w.add_bytes(p + "key_rcon", k.rcon) + "}";
}

std::string emit_mix_xor(SourceWriter& w, const std::string& p,
                         const Bytes (&mix)[3]) {
  return "{" + w.add_bytes(p + "mix_xor_a", mix[0]) + ", " +
         w.add_bytes(p + "mix_xor_b", mix[1]) + ", " +
         w.add_bytes(p + "mix_xor_r", mix[2]) + "}";
}

std::string emit_forward_tables(SourceWriter& w, const std::string& p,
                                const ForwardTableSet& f) {
  std::string text = "{" + w.add_bytes(p + "input_xor", f.input_xor) + ", ";
  text += w.add_bytes(p + "entry_index", f.entry_index) + ", ";
  text += w.add_bytes(p + "reencode", f.reencode) + ", ";
  text += emit_mix_xor(w, p, f.mix_xor) + ", ";
  text += w.add_words(p + "sbox_mix", f.sbox_mix) + ", ";
  text += w.add_bytes(p + "key_xor", f.key_xor) + ", ";
  text += w.add_bytes(p + "last_sbox", f.last_sbox) + ", ";
  text += w.add_bytes(p + "last_key_xor", f.last_key_xor) + "}";
  return text;
}

std::string emit_inverse_tables(SourceWriter& w, const std::string& p,
                                const InverseTableSet& i) {
  std::string text =
      "{" + w.add_bytes(p + "cipher_key_xor", i.cipher_key_xor) + ", ";
  text += w.add_bytes(p + "inv_sbox", i.inv_sbox) + ", ";
  text += w.add_bytes(p + "key_xor", i.key_xor) + ", ";
  text += w.add_words(p + "sbox_mix", i.sbox_mix) + ", ";
  text += emit_mix_xor(w, p, i.mix_xor) + ", ";
  text += w.add_bytes(p + "entry_index", i.entry_index) + ", ";
  text += w.add_bytes(p + "reencode", i.reencode) + ", ";
  text += w.add_bytes(p + "yellow_xor", i.yellow_xor) + ", ";
  text += w.add_bytes(p + "blue_xor", i.blue_xor) + "}";
  return text;
}

// Each core draws from a stream of its own, in a fixed order: the key form,
// then its directions, then its boundary forms.
uint64_t write_encryptor(const uint8_t seed[32], const std::string& inputs,
                         const std::vector<ByteMap>& protect_128,
                         const std::vector<ByteMap>& protect_256,
                         const std::string& path, bool& ok) {
  ChaCha20Stream stream(seed, StreamPurpose::kEncryptorCore);
  ByteMap key_form = random_encoding(stream);
  DirectionEncodings forward = draw_direction(stream, kMixCoefficients, false);
  ByteMap white = random_encoding(stream);

  SourceWriter w(inputs);
  const std::string keys = emit_key_tables(
      w, "enc_", build_key_tables(key_form, protect_128, protect_256));
  const std::string fwd = emit_forward_tables(
      w, "enc_fwd_", build_forward_tables(forward, white, key_form));
  const uint64_t bytes = w.table_bytes() + 256;
  w.close_tables();
  w.append("extern const KeyTables enc_key_tables = " + keys + ";\n");
  w.append("extern const ForwardTables enc_forward_tables = " + fwd + ";\n\n");
  w.append("}  // namespace zel_whitebox\n\nnamespace wb_enc {\n");
  w.append("alignas(64) const uint8_t wb_input_encoding[256] ZEL_WB_TABLE = " +
           SourceWriter::byte_list(Bytes(white.begin(), white.end())) +
           ";\n}  // namespace wb_enc\n");
  ok = w.write_file(path) && ok;
  zel_ref::secure_wipe(&forward, sizeof forward);
  zel_ref::secure_wipe(key_form.data(), key_form.size());
  return bytes;
}

uint64_t write_decryptor(const uint8_t seed[32], const std::string& inputs,
                         const std::vector<ByteMap>& protect_128,
                         const std::vector<ByteMap>& protect_256,
                         const std::string& path, bool& ok) {
  ChaCha20Stream stream(seed, StreamPurpose::kDecryptorCore);
  ByteMap key_form = random_encoding(stream);
  DirectionEncodings forward = draw_direction(stream, kMixCoefficients, false);
  DirectionEncodings inverse =
      draw_direction(stream, kInvMixCoefficients, true);
  ByteMap yellow = random_encoding(stream);
  ByteMap blue = random_encoding(stream);

  SourceWriter w(inputs);
  const std::string keys = emit_key_tables(
      w, "dec_", build_key_tables(key_form, protect_128, protect_256));
  const std::string fwd = emit_forward_tables(
      w, "dec_fwd_", build_forward_tables(forward, blue, key_form));
  const std::string inv = emit_inverse_tables(
      w, "dec_inv_", build_inverse_tables(inverse, key_form, yellow, blue));
  const uint64_t bytes = w.table_bytes() + 256;
  w.close_tables();
  w.append("extern const KeyTables dec_key_tables = " + keys + ";\n");
  w.append("extern const ForwardTables dec_forward_tables = " + fwd + ";\n");
  w.append("extern const InverseTables dec_inverse_tables = " + inv +
           ";\n\n}  // namespace zel_whitebox\n\nnamespace wb_dec {\n");
  const ByteMap decoding = inverse_of(yellow);
  w.append("alignas(64) const uint8_t wb_output_decoding[256] ZEL_WB_TABLE = " +
           SourceWriter::byte_list(Bytes(decoding.begin(), decoding.end())) +
           ";\n}  // namespace wb_dec\n");
  ok = w.write_file(path) && ok;
  zel_ref::secure_wipe(&forward, sizeof forward);
  zel_ref::secure_wipe(&inverse, sizeof inverse);
  for (ByteMap* map : {&key_form, &yellow, &blue})
    zel_ref::secure_wipe(map->data(), map->size());
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
  uint64_t bytes = write_encryptor(seed.bytes, inputs, protect_128,
                                   protect_256, out_dir + "/wb_enc_tables.cpp",
                                   ok);
  bytes += write_decryptor(seed.bytes, inputs, protect_128, protect_256,
                           out_dir + "/wb_dec_tables.cpp", ok);
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
