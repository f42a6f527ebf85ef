# The key-store benchmark (keystore_bench.cpp), included from
# bench/CMakeLists.txt after benchmark and OpenSSL have been found.
# The sample keychain is the reliability tests' own (tests/shared).
add_executable(zel_keystore_bench keystore_bench.cpp)
target_link_libraries(zel_keystore_bench PRIVATE
  zel_secure_store zel_sample_keychain benchmark::benchmark OpenSSL::Crypto)
# The OpenSSL baseline uses AES of the store key's size (16 or 32 bytes).
file(SIZE "${ZEL_EGSK_FILE}" ZEL_STORE_KEY_BYTES)
target_compile_definitions(zel_keystore_bench PRIVATE
  ZEL_STORE_KEY_BYTES=${ZEL_STORE_KEY_BYTES})
zel_set_warnings(zel_keystore_bench)
