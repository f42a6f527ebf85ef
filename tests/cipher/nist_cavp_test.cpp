// NIST CAVP AES-CBC known-answer and multi-block vectors through the single
// CBC steps: aes_init(key, iv), then wb_cbc_encrypt / wb_cbc_decrypt.
#include <gtest/gtest.h>

#include <string>

#include "PKIWB_decrypt.h"
#include "PKIWB_encrypt.h"
#include "core_encoding.h"
#include "rsp_reader.h"
#include "test_keys.h"

namespace {

struct CavpFile {
  const char* name;
  size_t key_bytes;
  size_t records_per_section;  // so that a reader that skips records fails
};

const CavpFile kFiles[] = {
    {"CBCGFSbox128.rsp", 16, 7},   {"CBCKeySbox128.rsp", 16, 21},
    {"CBCVarKey128.rsp", 16, 128}, {"CBCVarTxt128.rsp", 16, 128},
    {"CBCMMT128.rsp", 16, 10},     {"CBCGFSbox256.rsp", 32, 5},
    {"CBCKeySbox256.rsp", 32, 16}, {"CBCVarKey256.rsp", 32, 256},
    {"CBCVarTxt256.rsp", 32, 128}, {"CBCMMT256.rsp", 32, 10},
};

unsigned Size(const Bytes& bytes) { return static_cast<unsigned>(bytes.size()); }

Bytes EncryptInOneCall(const CavpCase& c) {
  PKIWB_encrypt encryptor(Size(c.key));
  encryptor.aes_init(CoreKeyForm(c.key).data(), c.iv.data());
  const Bytes white = ToWhite(c.plaintext);
  Bytes black(white.size());
  encryptor.wb_cbc_encrypt(white.data(), black.data(), Size(white));
  return black;
}

Bytes DecryptInOneCall(const CavpCase& c) {
  PKIWB_decrypt decryptor(Size(c.key));
  decryptor.aes_init(CoreKeyForm(c.key).data(), c.iv.data());
  Bytes yellow(c.ciphertext.size());
  decryptor.wb_cbc_decrypt(c.ciphertext.data(), yellow.data(),
                           Size(c.ciphertext));
  return FromYellow(yellow);
}

// The block-by-block variants check that the core carries the chaining value
// from one call to the next.
Bytes EncryptBlockByBlock(const CavpCase& c) {
  PKIWB_encrypt encryptor(Size(c.key));
  encryptor.aes_init(CoreKeyForm(c.key).data(), c.iv.data());
  const Bytes white = ToWhite(c.plaintext);
  Bytes black(white.size());
  for (size_t offset = 0; offset < white.size(); offset += 16)
    encryptor.wb_cbc_encrypt(&white[offset], &black[offset], 16);
  return black;
}

Bytes DecryptBlockByBlock(const CavpCase& c) {
  PKIWB_decrypt decryptor(Size(c.key));
  decryptor.aes_init(CoreKeyForm(c.key).data(), c.iv.data());
  Bytes yellow(c.ciphertext.size());
  for (size_t offset = 0; offset < yellow.size(); offset += 16)
    decryptor.wb_cbc_decrypt(&c.ciphertext[offset], &yellow[offset], 16);
  return FromYellow(yellow);
}

class NistCavpTest : public ::testing::TestWithParam<CavpFile> {
 protected:
  std::vector<CavpCase> ReadCases() {
    const CavpFile& file = GetParam();
    const std::vector<CavpCase> cases = ReadCavpFile(
        std::string(ZEL_TEST_VECTORS_DIR) + "/nist-cavp/" + file.name);
    size_t encrypt_records = 0;
    for (const CavpCase& c : cases) {
      EXPECT_EQ(c.key.size(), file.key_bytes) << "COUNT = " << c.count;
      encrypt_records += c.encrypt_section ? 1 : 0;
    }
    EXPECT_EQ(encrypt_records, file.records_per_section);
    EXPECT_EQ(cases.size() - encrypt_records, file.records_per_section);
    return cases;
  }
};

// Every record is checked in both directions, whichever section holds it.
TEST_P(NistCavpTest, EncryptsAndDecryptsEveryRecord) {
  for (const CavpCase& c : ReadCases()) {
    SCOPED_TRACE(std::string(c.encrypt_section ? "[ENCRYPT]" : "[DECRYPT]") +
                 " COUNT = " + std::to_string(c.count));
    EXPECT_EQ(BytesToHex(EncryptInOneCall(c)), BytesToHex(c.ciphertext));
    EXPECT_EQ(BytesToHex(DecryptInOneCall(c)), BytesToHex(c.plaintext));
  }
}

TEST_P(NistCavpTest, ChainsAcrossCallsOneBlockAtATime) {
  for (const CavpCase& c : ReadCases()) {
    if (c.plaintext.size() <= 16) continue;
    SCOPED_TRACE("COUNT = " + std::to_string(c.count));
    EXPECT_EQ(BytesToHex(EncryptBlockByBlock(c)), BytesToHex(c.ciphertext));
    EXPECT_EQ(BytesToHex(DecryptBlockByBlock(c)), BytesToHex(c.plaintext));
  }
}

std::string FileName(const ::testing::TestParamInfo<CavpFile>& info) {
  std::string name = info.param.name;
  return name.substr(0, name.find('.'));
}

INSTANTIATE_TEST_SUITE_P(CbcFiles, NistCavpTest, ::testing::ValuesIn(kFiles),
                         FileName);

}  // namespace
