# ZelKeyMaterial.cmake: chooses, checks and reports the key material that
# libzel_secure_store embeds.
#
# ZEL_EGSK_FILE (the store key), ZEL_UID_FILE (the IV) and, for the
# white-box core, ZEL_WB_SEED_FILE (the seed of the tables and of the
# protected key form) default to the development material in keys/. A file
# whose bytes equal a file of keys/ is development material wherever it
# lies; any other file is product material. Configure stops with an error
# that names the file and the fix when
#   - a file is missing, the seed is not 32 bytes or the IV not 16;
#   - development and product files are mixed (a product key with the
#     development seed: its files would decrypt with public material);
#   - ZEL_PRODUCT_BUILD is ON and any file is development material;
#   - the store key is in the other core's form (a protected key for the
#     reference core, a raw development key for the white-box core);
#   - a product key for the white-box core has no check value (KEY.check,
#     which zel-egsk writes beside every protected key it makes).
# The build then runs "zel-egsk check" (target zel_key_material_check)
# before the library embeds a protected key: the key must belong to the
# seed. Configure prints one block naming the material, with the first 8
# hex digits of each file's SHA-256 as its fingerprint.
#
# Sets ZEL_KEY_MATERIAL to "development" or "product".
include_guard(GLOBAL)

option(ZEL_PRODUCT_BUILD "Refuse the development key material of keys/" OFF)

set(zel_keys_dir ${PROJECT_SOURCE_DIR}/keys)
if(ZEL_WB_CORE STREQUAL "reference")
  set(zel_default_egsk ${zel_keys_dir}/egsk-raw.bin)
  set(zel_key_parts EGSK UID)
else()
  set(zel_default_egsk ${zel_keys_dir}/egsk.bin)
  set(zel_key_parts SEED EGSK UID)
endif()
set(ZEL_EGSK_FILE "${zel_default_egsk}" CACHE FILEPATH
    "Store key embedded in the library (16 or 32 bytes, in the core's key form)")
set(ZEL_UID_FILE "${zel_keys_dir}/uid.bin" CACHE FILEPATH
    "IV embedded in the library (16 bytes)")
set(ZEL_WB_SEED_FILE "${zel_keys_dir}/wb_seed.bin" CACHE FILEPATH
    "Secret seed (32 bytes) of the white-box tables and the protected key form")

# Per part: its option, what it is, the file name zel-egsk new gives it.
set(zel_SEED_option ZEL_WB_SEED_FILE)
set(zel_SEED_what "seed")
set(zel_SEED_name wb_seed.bin)
set(zel_EGSK_option ZEL_EGSK_FILE)
set(zel_EGSK_what "store key")
set(zel_EGSK_name egsk.bin)
set(zel_UID_option ZEL_UID_FILE)
set(zel_UID_what "IV")
set(zel_UID_name uid.bin)

foreach(name wb_seed.bin egsk.bin egsk256.bin egsk-raw.bin egsk256-raw.bin uid.bin)
  file(SHA256 ${zel_keys_dir}/${name} hash)
  set(zel_development_${hash} ${name})
endforeach()

# Reads each part's file: zel_<part>_path, _hash, _size and _development
# (the name of the keys/ file it equals, or empty).
set(zel_development_parts "")
set(zel_product_parts "")
foreach(part ${zel_key_parts})
  set(option ${zel_${part}_option})
  get_filename_component(path "${${option}}" ABSOLUTE)
  if(NOT EXISTS "${path}" OR IS_DIRECTORY "${path}")
    message(FATAL_ERROR "${option}=${${option}}: no such file. keys/README.md "
                        "explains how to make a product's key files.")
  endif()
  file(SHA256 "${path}" hash)
  file(SIZE "${path}" size)
  set(zel_${part}_path "${path}")
  set(zel_${part}_hash "${hash}")
  set(zel_${part}_size "${size}")
  set(zel_${part}_development "${zel_development_${hash}}")
  if(zel_${part}_development)
    list(APPEND zel_development_parts ${part})
  else()
    list(APPEND zel_product_parts ${part})
  endif()
endforeach()

# zel_key_parts_text(out kind parts): "ZEL_WB_SEED_FILE (PATH) is |kind|
# seed and ..." for |parts|.
function(zel_key_parts_text out kind)
  set(text "")
  foreach(part ${ARGN})
    if(text)
      string(APPEND text " and ")
    endif()
    string(APPEND text
           "${zel_${part}_option} (${zel_${part}_path}) is ${kind} ${zel_${part}_what}")
  endforeach()
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

# zel_key_parts_fix(out dir parts): the -D options that take |parts| from
# the product key set in |dir|.
function(zel_key_parts_fix out dir)
  set(text "")
  foreach(part ${ARGN})
    string(APPEND text " -D${zel_${part}_option}=${dir}/${zel_${part}_name}")
  endforeach()
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

if(zel_development_parts)
  zel_key_parts_text(development_text "the development" ${zel_development_parts})
  if(zel_product_parts)
    list(GET zel_product_parts 0 first_product)
    get_filename_component(product_dir "${zel_${first_product}_path}" DIRECTORY)
  else()
    set(product_dir "/secure/product")
  endif()
  zel_key_parts_fix(fix "${product_dir}" ${zel_development_parts})
  if(ZEL_PRODUCT_BUILD)
    message(FATAL_ERROR
      "ZEL_PRODUCT_BUILD=ON refuses the development key material of keys/ "
      "(public, it protects nothing), but ${development_text}. Pass the "
      "product's own files:${fix} (zel-egsk new makes a key set; see "
      "keys/README.md).")
  endif()
  if(zel_product_parts)
    zel_key_parts_text(product_text "a product" ${zel_product_parts})
    message(FATAL_ERROR
      "Mixed key material: ${product_text}, but ${development_text} of "
      "keys/, which is public: the product's item files would be protected "
      "by public material. A product build takes all its key material from "
      "its own key set (zel-egsk new writes wb_seed.bin, egsk.bin and "
      "uid.bin together): pass${fix}")
  endif()
  set(ZEL_KEY_MATERIAL development)
else()
  set(ZEL_KEY_MATERIAL product)
endif()

# The store key's form must be the core's.
if(ZEL_WB_CORE STREQUAL "reference")
  if(zel_EGSK_development MATCHES "^egsk(256)?\\.bin$")
    message(FATAL_ERROR
      "ZEL_EGSK_FILE (${zel_EGSK_path}) is the development store key in the "
      "white-box core's protected form; the reference core takes the raw "
      "key: -DZEL_EGSK_FILE=${zel_keys_dir}/egsk-raw.bin")
  elseif(EXISTS "${zel_EGSK_path}.check")
    message(FATAL_ERROR
      "ZEL_EGSK_FILE (${zel_EGSK_path}) is a protected key (zel-egsk wrote "
      "its check value ${zel_EGSK_path}.check), and the reference core takes "
      "the raw key. Unwrap it with zel-egsk unwrap --seed SEED --in "
      "${zel_EGSK_path} --out RAW and pass -DZEL_EGSK_FILE=RAW.")
  endif()
elseif(zel_EGSK_development MATCHES "raw")
  message(FATAL_ERROR
    "ZEL_EGSK_FILE (${zel_EGSK_path}) is the raw development store key; the "
    "white-box core takes the protected form: -DZEL_EGSK_FILE=${zel_keys_dir}/"
    "egsk.bin")
endif()
if(NOT zel_EGSK_size EQUAL 16 AND NOT zel_EGSK_size EQUAL 32)
  message(FATAL_ERROR "ZEL_EGSK_FILE (${zel_EGSK_path}) holds ${zel_EGSK_size} "
                      "bytes; the store key has 16 (AES-128) or 32 (AES-256).")
endif()
if(NOT zel_UID_size EQUAL 16)
  message(FATAL_ERROR "ZEL_UID_FILE (${zel_UID_path}) holds ${zel_UID_size} "
                      "bytes; the IV has 16.")
endif()
if(zel_SEED_path AND NOT zel_SEED_size EQUAL 32)
  message(FATAL_ERROR "ZEL_WB_SEED_FILE (${zel_SEED_path}) holds "
                      "${zel_SEED_size} bytes; the seed has 32.")
endif()

# The white-box core's protected key must come with its check value: beside
# the key, or for a copy of a development key, the one in keys/.
if(zel_SEED_path)
  set(zel_egsk_check "${zel_EGSK_path}.check")
  if(NOT EXISTS "${zel_egsk_check}" AND zel_EGSK_development)
    set(zel_egsk_check "${zel_keys_dir}/${zel_EGSK_development}.check")
  endif()
  if(NOT EXISTS "${zel_egsk_check}")
    message(FATAL_ERROR
      "ZEL_EGSK_FILE (${zel_EGSK_path}) has no check value "
      "${zel_EGSK_path}.check, so the build cannot tell whether it belongs "
      "to the seed ${zel_SEED_path}. zel-egsk new and wrap write one beside "
      "every key they make; for a key made without one, keys/README.md "
      "says how to make it (zel-egsk make-check).")
  endif()
  set(zel_key_check_stamp ${CMAKE_BINARY_DIR}/key_material.checked)
  add_custom_command(
    OUTPUT ${zel_key_check_stamp}
    COMMAND zel-egsk check --seed ${zel_SEED_path} --in ${zel_EGSK_path}
            --check ${zel_egsk_check}
    COMMAND ${CMAKE_COMMAND} -E touch ${zel_key_check_stamp}
    DEPENDS zel-egsk ${zel_SEED_path} ${zel_EGSK_path} ${zel_egsk_check}
    COMMENT "Checking that the store key belongs to the seed"
    VERBATIM)
  add_custom_target(zel_key_material_check DEPENDS ${zel_key_check_stamp})
  if(TARGET zel_host_tools)
    add_dependencies(zel_key_material_check zel_host_tools)
  endif()
endif()

# The report.
math(EXPR zel_key_bits "${zel_EGSK_size} * 8")
if(ZEL_KEY_MATERIAL STREQUAL "development")
  message(STATUS "Key material: DEVELOPMENT (public, from keys/; protects nothing)")
else()
  message(STATUS "Key material: product")
endif()
if(zel_SEED_path)
  message(STATUS "  core        white-box, AES-${zel_key_bits} store key in protected form")
else()
  message(STATUS "  core        reference, AES-${zel_key_bits} store key in raw form")
  message(STATUS "  seed        none (the reference core has no tables)")
endif()
foreach(part ${zel_key_parts})
  string(SUBSTRING "${zel_${part}_hash}" 0 8 fingerprint)
  string(SUBSTRING "${zel_${part}_what}            " 0 11 label)
  message(STATUS "  ${label} ${fingerprint}  ${zel_${part}_path}")
endforeach()
if(zel_egsk_check)
  message(STATUS "  check value ${zel_egsk_check} (the build checks the key against the seed)")
endif()
