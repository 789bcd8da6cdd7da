/* Cryptography on wallets, personas and identities. */
#ifndef OCI_SECURITY_H
#define OCI_SECURITY_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Start and end of the security package. */
sword OCISecurityInitialize(OCISecurity *sechandle, OCIError *error_handle);
sword OCISecurityTerminate(OCISecurity *sechandle, OCIError *error_handle);

/* Wallets. */
sword OCISecurityCreateWallet(OCISecurity *osshandle, OCIError *error_handle, size_t wrllen,
                              OraText *wallet_resource_locator, size_t pwdlen, OraText *password,
                              nzttWallet *wallet);
sword OCISecurityDestroyWallet(OCISecurity *osshandle, OCIError *error_handle, size_t wrllen,
                               OraText *wallet_resource_locator, size_t pwdlen, OraText *password);
sword OCISecurityOpenWallet(OCISecurity *osshandle, OCIError *error_handle, size_t wrllen,
                            OraText *wallet_resource_locator, size_t pwdlen, OraText *password,
                            nzttWallet *wallet);
sword OCISecurityCloseWallet(OCISecurity *osshandle, OCIError *error_handle, nzttWallet *wallet);

/* Personas and the protection they apply. */
sword OCISecurityCreatePersona(OCISecurity *osshandle, OCIError *error_handle, nzttIdentType identity_type,
                               nzttCipherType cipher_type, nzttPersonaDesc *desc, nzttPersona **persona);
sword OCISecurityStorePersona(OCISecurity *osshandle, OCIError *error_handle, nzttPersona **persona,
                              nzttWallet *wallet);
sword OCISecurityRemovePersona(OCISecurity *osshandle, OCIError *error_handle, nzttPersona **persona);
sword OCISecurityOpenPersona(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona);
sword OCISecurityClosePersona(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona);
sword OCISecuritySetProtection(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                               nzttcef crypto_engine_function, nztttdufmt data_unit_format,
                               nzttProtInfo *protection_info);
sword OCISecurityGetProtection(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                               nzttcef crypto_engine_function, nztttdufmt *data_unit_format_ptr,
                               nzttProtInfo *protection_info);

/* Identities. */
sword OCISecurityCreateIdentity(OCISecurity *osshandle, OCIError *error_handle, nzttIdentType type,
                                nzttIdentityDesc *desc, nzttIdentity **identity_ptr);
sword OCISecurityAbortIdentity(OCISecurity *osshandle, OCIError *error_handle, nzttIdentity **identity_ptr);
sword OCISecurityFreeIdentity(OCISecurity *osshandle, OCIError *error_handle, nzttIdentity **identity_ptr);
sword OCISecurityRemoveIdentity(OCISecurity *osshandle, OCIError *error_handle, nzttIdentity **identity_ptr);
sword OCISecurityStoreTrustedIdentity(OCISecurity *osshandle, OCIError *error_handle,
                                      nzttIdentity **identity_ptr, nzttPersona *persona);
sword OCISecurityGetIdentity(OCISecurity *osshandle, OCIError *error_handle, size_t namelen,
                             OraText *distinguished_name, nzttIdentity **identity);
sword OCISecurityValidate(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                          nzttIdentity *identity, int *validated);

/* Signatures. The calls ending in Expansion give the size of the result, in bytes. */
sword OCISecuritySign(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                      nzttces signature_state, size_t input_length, ub1 *input,
                      nzttBufferBlock *buffer_block);
sword OCISecuritySignExpansion(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                               size_t inputlen, size_t *signature_length);
sword OCISecurityVerify(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                        nzttces signature_state, size_t siglen, ub1 *signature,
                        nzttBufferBlock *extracted_message, int *verified, int *validated,
                        nzttIdentity **signing_party_identity);
sword OCISecuritySignDetached(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                              nzttces signature_state, size_t input_length, ub1 *input,
                              nzttBufferBlock *signature);
sword OCISecuritySignDetExpansion(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                                  size_t input_length, size_t *required_buffer_length);
sword OCISecurityVerifyDetached(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                                nzttces signature_state, size_t data_length, ub1 *data, size_t siglen,
                                ub1 *signature, int *verified, int *validated,
                                nzttIdentity **signing_party_identity);

/* Encryption with public keys, with symmetric keys, and enveloping. */
sword OCISecurity_PKEncrypt(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                            size_t number_of_recipients, nzttIdentity *recipient_list,
                            nzttces encryption_state, size_t input_length, ub1 *input,
                            nzttBufferBlock *encrypted_data);
sword OCISecurityPKEncryptExpansion(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                                    size_t number_recipients, size_t input_length,
                                    size_t *buffer_length_required);
sword OCISecurityPKDecrypt(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                           nzttces encryption_state, size_t input_length, ub1 *input,
                           nzttBufferBlock *encrypted_data);
sword OCISecurityEncrypt(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                         nzttces encryption_state, size_t input_length, ub1 *input,
                         nzttBufferBlock *encrypted_data);
sword OCISecurityEncryptExpansion(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                                  size_t input_length, size_t *encrypted_data_length);
sword OCISecurityDecrypt(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                         nzttces decryption_state, size_t input_length, ub1 *input,
                         nzttBufferBlock *decrypted_data);
sword OCISecurityEnvelope(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                          size_t number_of_recipients, nzttIdentity *identity, nzttces encryption_state,
                          size_t input_length, ub1 *input, nzttBufferBlock *enveloped_data);
sword OCISecurityDeEnvelope(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                            nzttces decryption_state, size_t input_length, ub1 *input,
                            nzttBufferBlock *output_message, int *verified, int *validated,
                            nzttIdentity **sender_identity);

/* Hashes. */
sword OCISecurityKeyedHash(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                           nzttces hash_state, size_t input_length, ub1 *input, nzttBufferBlock *keyed_hash);
sword OCISecurityKeyedHashExpansion(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                                    size_t input_length, size_t *required_buffer_length);
sword OCISecurityHash(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                      nzttces hash_state, size_t input_length, ub1 *input, nzttBufferBlock *hash);
sword OCISecurityHashExpansion(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                               size_t input_length, size_t *required_buffer_length);

/* Random data. */
sword OCISecuritySeedRandom(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                            size_t seed_length, ub1 *seed);
sword OCISecurityRandomBytes(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                             size_t number_of_bytes_desired, nzttBufferBlock *random_bytes);
sword OCISecurityRandomNumber(OCISecurity *osshandle, OCIError *error_handle, nzttPersona *persona,
                              uword *random_number_ptr);

/* Buffer blocks. */
sword OCISecurityInitBlock(OCISecurity *osshandle, OCIError *error_handle, nzttBufferBlock *buffer_block);
sword OCISecuritySetBlock(OCISecurity *osshandle, OCIError *error_handle, uword flags_to_set,
                          size_t buffer_length, size_t used_buffer_length, ub1 *buffer,
                          nzttBufferBlock *buffer_block);
sword OCISecurityReuseBlock(OCISecurity *osshandle, OCIError *error_handle, nzttBufferBlock *buffer_block);
sword OCISecurityPurgeBlock(OCISecurity *osshandle, OCIError *error_handle, nzttBufferBlock *buffer_block);

OCI_END_DECLARATIONS

#endif
