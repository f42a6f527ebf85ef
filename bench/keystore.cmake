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

# The same keychains through a host-bound build of the library
# (ZEL_DEVICE_BINDING=host), reported beside the unbound figures: a driver
# module linked against that build, which the benchmark loads with
# RTLD_DEEPBIND so that its library's classes do not meet the unbound
# library's classes of the same names.
zel_add_store_library(zel_secure_store_bench_host ${ZEL_EGSK_FILE} ${ZEL_UID_FILE} BINDING host)
add_library(zel_keystore_bound_driver MODULE keystore_bound_driver.cpp
            ${PROJECT_SOURCE_DIR}/tests/shared/sample_keychain.cpp)
target_link_libraries(zel_keystore_bound_driver PRIVATE zel_secure_store_bench_host)
target_include_directories(zel_keystore_bound_driver PRIVATE ${PROJECT_SOURCE_DIR}/tests/shared)
zel_set_warnings(zel_keystore_bound_driver)
add_dependencies(zel_keystore_bench zel_keystore_bound_driver)
target_link_libraries(zel_keystore_bench PRIVATE ${CMAKE_DL_LIBS})
target_compile_definitions(zel_keystore_bench PRIVATE
  ZEL_BOUND_DRIVER="$<TARGET_FILE:zel_keystore_bound_driver>")
