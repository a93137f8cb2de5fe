// Host suites acquired lazily by name and version, cached for one command and
// released, exactly as acquired, when the handler is destroyed.
#pragma once
#include "hostapi/host_api.h"
#include "hostapi/host_suites_extra.h"

namespace DAE {

class AEGP_SuiteHandler {
public:
    explicit AEGP_SuiteHandler(const SPBasicSuite* basic);
    ~AEGP_SuiteHandler();
    AEGP_SuiteHandler(const AEGP_SuiteHandler&) = delete;
    AEGP_SuiteHandler& operator=(const AEGP_SuiteHandler&) = delete;

    const SPBasicSuite* BasicSuite() const { return basic_; }

    // Each accessor returns null when the host lacks the suite (and tries
    // again on the next call).
    PF_HandleSuite1* HandleSuite1();                     // "PF Handle Suite" 2
    PF_ParamUtilsSuite3* ParamUtilsSuite3();             // "PF Param Utils Suite" 3
    PFAppSuite4* AppSuite4();                            // "PF AE App Suite", registered as 6
    PF_ANSICallbacksSuite1* ANSICallbacksSuite1();       // "PF ANSI Suite" 1
    PF_EffectCustomUISuite1* EffectCustomUISuite1();     // "PF Effect Custom UI Suite" 1
    AEGP_PFInterfaceSuite1* PFInterfaceSuite1();         // "AEGP PF Interface Suite" 1
    AEGP_DynamicStreamSuite3* DynamicStreamSuite3();     // "AEGP Dynamic Stream Suite" 3
    AEGP_EffectSuite3* EffectSuite3();                   // "AEGP Effect Suite" 3
    AEGP_PersistentDataSuite3* PersistentDataSuite3();   // "AEGP Persistent Data Suite" 3
    // "AEGP Stream Suite" 7 (its second edition, served from host 13.0 on).
    AEGP_StreamSuite2* StreamSuite2();
    // The layer, item and footage suites at versions every host from 13.0 on
    // serves (older editions declared in hostapi/host_suites_extra.h).
    AEGP_LayerSuite6* LayerSuite6();                     // "AEGP Layer Suite" 12
    AEGP_ItemSuite8* ItemSuite8();                       // "AEGP Item Suite" 13
    AEGP_FootageSuite5* FootageSuite5();                 // "AEGP Footage Suite" 11

    // The implementation owns the name/version table and the cache slots.
    struct Impl;

private:
    void MissingSuiteError() const {}
    const SPBasicSuite* basic_;
    const void* slots_[133];
};

}  // namespace DAE
