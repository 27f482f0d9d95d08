// Security plugins of a participant that does not keep to the rules: the DDS library's own, with what restrains their
// own process taken out. What others still refuse is what the bus is protected by.
//
// Access control: readers and writers of any topic and partition may be made here, whatever the permissions say.
// Cryptography: while the file named by KORABRIDGE_TEST_FORGE exists, what writers send carries no proof of its origin
// that its readers accept. All else about it is right: it is what somebody can make who holds a writer's key because he
// may read it, and does not hold the keys that this writer shares with each other reader.

#include "dds/security/dds_security_api_access_control.h"
#include "dds/security/dds_security_api_cryptography.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <span>
#include <string>

namespace
{

// As the library calls them; its header of them is for C alone.
using Init = int (*)(const char*, void**, ddsi_domaingv*);
using Finalize = int (*)(void*);

/// The DDS library loads authentication first; the other plugins lie beside it.
void* libraryPlugin(const std::string& name)
{
    std::string path;
    ::dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* data) {
            const std::string loaded = info->dlpi_name;
            const auto at = loaded.find("libdds_security_auth.so");
            if (at != std::string::npos)
            {
                *static_cast<std::string*>(data) = loaded.substr(0, at);
            }
            return 0;
        },
        &path);
    return ::dlopen((path + "libdds_security_" + name + ".so").c_str(), RTLD_NOW);
}

template <typename Function>
Function functionOf(const std::string& plugin, const char* name)
{
    void* const library = libraryPlugin(plugin);
    void* const found = library != nullptr ? ::dlsym(library, name) : nullptr;
    if (found == nullptr)
    {
        std::abort();
    }
    return reinterpret_cast<Function>(found);
}

DDS_Security_boolean permitEnd(dds_security_access_control*, DDS_Security_PermissionsHandle, DDS_Security_DomainId,
                               const DDS_Security_char*, const DDS_Security_Qos*,
                               const DDS_Security_PartitionQosPolicy*, const DDS_Security_DataTags*,
                               DDS_Security_SecurityException*)
{
    return 1;
}

DDS_Security_boolean permitTopic(dds_security_access_control*, DDS_Security_PermissionsHandle, DDS_Security_DomainId,
                                 const DDS_Security_char*, const DDS_Security_Qos*, DDS_Security_SecurityException*)
{
    return 1;
}

DDS_Security_crypto_transform_encode_datawriter_submessage encodeRightly = nullptr;

/// Spoils the proofs of origin in a protected message: all that stands behind the common code in its last part.
void spoilProofs(std::span<DDS_Security_octet> message)
{
    constexpr DDS_Security_octet securePostfix = 0x32;
    constexpr std::size_t header = 4;
    constexpr std::size_t commonCode = 16;
    constexpr std::size_t count = 4;
    while (message.size() >= header)
    {
        const bool isLittleEndian = (message[1] & 1U) != 0;
        const std::size_t size =
            isLittleEndian ? message[2] | std::size_t{message[3]} << 8U : message[3] | std::size_t{message[2]} << 8U;
        if (message[0] == securePostfix)
        {
            const auto proofs = message.subspan(header + commonCode + count);
            constexpr std::size_t key = 4;
            constexpr std::size_t proof = key + 16;
            for (std::size_t at = 0; at + proof <= proofs.size(); at += proof)
            {
                proofs[at + key] = static_cast<DDS_Security_octet>(~proofs[at + key]);
            }
            return;
        }
        message = message.subspan(header + size);
    }
}

DDS_Security_boolean encode(dds_security_crypto_transform* instance, DDS_Security_OctetSeq* encoded,
                            const DDS_Security_OctetSeq* plain, DDS_Security_DatawriterCryptoHandle writer,
                            const DDS_Security_DatareaderCryptoHandleSeq* readers, DDS_Security_long* index,
                            DDS_Security_SecurityException* error)
{
    const auto result = encodeRightly(instance, encoded, plain, writer, readers, index, error);
    const char* const forge = std::getenv("KORABRIDGE_TEST_FORGE");
    if (result != 0 && forge != nullptr && ::access(forge, F_OK) == 0)
    {
        spoilProofs({encoded->_buffer, encoded->_length});
    }
    return result;
}

} // namespace

extern "C" int init_lenient_access_control(const char* argument, void** context, ddsi_domaingv* domain)
{
    const int result = functionOf<Init>("ac", "init_access_control")(argument, context, domain);
    if (result == 0)
    {
        auto& plugin = *static_cast<dds_security_access_control*>(*context);
        plugin.check_create_datawriter = permitEnd;
        plugin.check_create_datareader = permitEnd;
        plugin.check_create_topic = permitTopic;
    }
    return result;
}

extern "C" int finalize_lenient_access_control(void* context)
{
    return functionOf<Finalize>("ac", "finalize_access_control")(context);
}

extern "C" int init_forging_crypto(const char* argument, void** context, ddsi_domaingv* domain)
{
    const int result = functionOf<Init>("crypto", "init_crypto")(argument, context, domain);
    if (result == 0)
    {
        auto& transform = *static_cast<dds_security_cryptography*>(*context)->crypto_transform;
        encodeRightly = transform.encode_datawriter_submessage;
        transform.encode_datawriter_submessage = encode;
    }
    return result;
}

extern "C" int finalize_forging_crypto(void* context)
{
    return functionOf<Finalize>("crypto", "finalize_crypto")(context);
}
