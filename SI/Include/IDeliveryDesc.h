#pragma once

#include <cstdint>
#include <memory>

#include "Export.h"

class TCBaseDesc;

namespace TORVEL_MW {

/// How a transport stream is delivered (ETSI EN 300 468 6.2.13): which kind of descriptor, and the
/// platform's decoded copy of it. It never changes after it was made; several holders share it.
class TORVELSI_API IDeliveryDesc {
  public:
    enum EDeliverySystemType : std::int32_t {
        DELIVERY_T2 = 0,           ///< `TCDescT2SystemDelivery`
        DELIVERY_TERRESTRIAL = 1,  ///< `TCDescTerrestrialDeliverySystem`
        DELIVERY_CABLE = 2,        ///< `TCDescCableDeliverySystem`
        DELIVERY_SATELLITE = 3     ///< `TCDescSatelliteDeliverySystem`
    };

    virtual ~IDeliveryDesc() = default;

    /// The kind. It also says of which class `PlatformDesc` is.
    EDeliverySystemType Type() const { return m_type; }

    /// The platform's descriptor, never null; its own accessors give the fields.
    const std::shared_ptr<TCBaseDesc>& PlatformDesc() const;

    /// Decodes one delivery system descriptor. Of T2 descriptors only those of descriptor_length 4
    /// are taken.
    ///
    /// @param data  its descriptor_tag byte; 2 + descriptor_length bytes are read. The
    ///              caller makes sure that it is not null and that they are there; nothing checks
    /// @return empty when it is malformed or another descriptor
    static std::shared_ptr<IDeliveryDesc> Parse(unsigned char* data);

  protected:
    explicit IDeliveryDesc(EDeliverySystemType type) : m_type(type) {}

  private:
    EDeliverySystemType m_type;
};

/// The four kinds. Each shares ownership of the platform's copy, which must not be null.
class TORVELSI_API CT2DeliverySystemDesc : public IDeliveryDesc {
  public:
    explicit CT2DeliverySystemDesc(std::shared_ptr<TCBaseDesc> desc);
    ~CT2DeliverySystemDesc() override;

  private:
    friend class IDeliveryDesc;
    std::shared_ptr<TCBaseDesc> m_desc;
};

class TORVELSI_API CTerrestrialDeliverySystemDesc : public IDeliveryDesc {
  public:
    explicit CTerrestrialDeliverySystemDesc(std::shared_ptr<TCBaseDesc> desc);
    ~CTerrestrialDeliverySystemDesc() override;

  private:
    friend class IDeliveryDesc;
    std::shared_ptr<TCBaseDesc> m_desc;
};

class TORVELSI_API CCableDeliverySystemDesc : public IDeliveryDesc {
  public:
    explicit CCableDeliverySystemDesc(std::shared_ptr<TCBaseDesc> desc);
    ~CCableDeliverySystemDesc() override;

  private:
    friend class IDeliveryDesc;
    std::shared_ptr<TCBaseDesc> m_desc;
};

class TORVELSI_API CSatelliteDeliverySystemDesc : public IDeliveryDesc {
  public:
    explicit CSatelliteDeliverySystemDesc(std::shared_ptr<TCBaseDesc> desc);
    ~CSatelliteDeliverySystemDesc() override;

  private:
    friend class IDeliveryDesc;
    std::shared_ptr<TCBaseDesc> m_desc;
};

}  // namespace TORVEL_MW
