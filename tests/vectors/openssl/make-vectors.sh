#!/usr/bin/env bash
# make-vectors.sh: writes cbc_pkcs7.json, AES-CBC vectors with PKCS#7
# padding made by the OpenSSL command line from random keys, IVs and
# messages, in the shape of the Wycheproof files (testGroups of tests with
# key, iv, msg, ct, result). Run once; the output is committed so that
# builds without OpenSSL (i386) check the same vectors.
#   bash tests/vectors/openssl/make-vectors.sh > tests/vectors/openssl/cbc_pkcs7.json
set -euo pipefail
sizes=(16 17 31 32 33 47 48 64 100 255 256 1000 1704 4095 4096)
echo '{"algorithm": "AES-CBC-PKCS5", "source": "openssl enc, see make-vectors.sh", "testGroups": ['
for bits in 128 256; do
  [ "$bits" = 256 ] && echo ','
  echo "{\"keySize\": $bits, \"tests\": ["
  id=0
  for size in "${sizes[@]}"; do
    id=$((id + 1))
    key=$(openssl rand -hex $((bits / 8)))
    iv=$(openssl rand -hex 16)
    msg=$(openssl rand -hex "$size")
    ct=$(echo -n "$msg" | xxd -r -p | openssl enc -aes-"$bits"-cbc -K "$key" -iv "$iv" | xxd -p | tr -d '\n')
    [ "$id" -gt 1 ] && echo ','
    printf '{"tcId": %d, "comment": "%d bytes", "key": "%s", "iv": "%s", "msg": "%s", "ct": "%s", "result": "valid"}\n' \
      "$id" "$size" "$key" "$iv" "$msg" "$ct"
  done
  echo ']}'
done
echo ']}'
