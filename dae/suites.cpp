#include "dae/suites.h"

#include <cstddef>

namespace DAE {

// One row per suite name and version the handler can serve; the row index is
// the cache slot. Only rows reached by an accessor are ever acquired. To serve
// a new suite, give it an accessor that calls Impl::Get with its row.
struct AEGP_SuiteHandler::Impl {
    struct Row {
        const char* name;
        int32 version;
    };

    enum Index : int {
        kMarker1, kMarker2, kMarker3,
        kLayer1, kLayer2, kLayer3, kLayer4, kLayer5, kLayer6, kLayer7, kLayer8, kLayer9,
        kStream1, kStream2, kStream3, kStream4, kStream5, kStream6,
        kDynamicStream1, kDynamicStream2, kDynamicStream3, kDynamicStream4,
        kKeyframe1, kKeyframe2, kKeyframe3, kKeyframe4, kKeyframe5,
        kComp1, kComp2, kComp3, kComp4, kComp5, kComp6, kComp7, kComp8, kComp9, kComp10, kComp11,
        kComposite2,
        kCanvas1, kCanvas2, kCanvas4, kCanvas5, kCanvas6, kCanvas7, kCanvas8,
        kCamera1, kCamera2,
        kLight1, kLight2,
        kEffect1, kEffect2, kEffect3, kEffect4,
        kMask1, kMask2, kMask3, kMask4, kMask5, kMask6,
        kMaskOutline1, kMaskOutline2, kMaskOutline3,
        kCommand1,
        kUtility1, kUtility2, kUtility3, kUtility4, kUtility5, kUtility6,
        kRender1, kRender2, kRender3, kRender4, kRender5,
        kWorld1, kWorld2, kWorld3,
        kItem1, kItem2, kItem3, kItem4, kItem5, kItem6, kItem7, kItem8, kItem9,
        kItemView1,
        kFootage5,
        kProject5, kProject6,
        kPFInterface1,
        kMath1,
        kMemory1,
        kPersistentData3, kPersistentData4,
        kCollection1, kCollection2,
        kTextDocument1,
        kTextLayer1,
        kColorSettings1, kColorSettings2, kColorSettings3, kColorSettings4, kColorSettings5,
        kRenderOptions1, kRenderOptions2, kRenderOptions3, kRenderOptions4,
        kRenderQueue1,
        kRQItem4,
        kIterate1, kIterate2,
        kPFHandle1,
        kPFIterate8_1,
        kPFIterate16_1,
        kPFIterateFloat1,
        kPFParamUtils1, kPFParamUtils3,
        kPFANSI1,
        kPFEffectCustomUI1, kPFEffectCustomUI2,
        kDrawbotDraw1,
        kDrawbotSupplier1,
        kDrawbotSurface2,
        kDrawbotPath1,
        kPFWorld2,
        kPFPixelData1,
        kPFEffectUI1,
        kPFCacheOnLoad1,
        kPFColor16_1,
        kPFApp4,
        kSPSuites2,
        kRowCount
    };

    static const Row kRows[kRowCount];

    template <typename T>
    static T* Get(AEGP_SuiteHandler& h, Index i) {
        return static_cast<T*>(const_cast<void*>(Acquire(h, i)));
    }

    static const void* Acquire(AEGP_SuiteHandler& h, Index i) {
        if (h.slots_[i]) return h.slots_[i];
        if (!h.basic_ || !h.basic_->AcquireSuite) {
            h.MissingSuiteError();
            return nullptr;
        }
        const void* suite = nullptr;
        const SPErr err = h.basic_->AcquireSuite(kRows[i].name, kRows[i].version, &suite);
        if (err != 0 || !suite) {
            // Lenient: the caller gets null and carries on; the slot stays
            // empty so the next call asks the host again.
            h.MissingSuiteError();
            return nullptr;
        }
        h.slots_[i] = suite;
        return suite;
    }
};

const AEGP_SuiteHandler::Impl::Row AEGP_SuiteHandler::Impl::kRows[kRowCount] = {
    {"AEGP Marker Suite", 1}, {"AEGP Marker Suite", 2}, {"AEGP Marker Suite", 3},
    {"AEGP Layer Suite", 5}, {"AEGP Layer Suite", 7}, {"AEGP Layer Suite", 8},
    {"AEGP Layer Suite", 10}, {"AEGP Layer Suite", 11}, {"AEGP Layer Suite", 12},
    {"AEGP Layer Suite", 13}, {"AEGP Layer Suite", 14}, {"AEGP Layer Suite", 15},
    {"AEGP Stream Suite", 4}, {"AEGP Stream Suite", 7}, {"AEGP Stream Suite", 8},
    {"AEGP Stream Suite", 9}, {"AEGP Stream Suite", 10}, {"AEGP Stream Suite", 11},
    {"AEGP Dynamic Stream Suite", 1}, {"AEGP Dynamic Stream Suite", 2},
    {"AEGP Dynamic Stream Suite", 3}, {"AEGP Dynamic Stream Suite", 5},
    {"AEGP Keyframe Suite", 1}, {"AEGP Keyframe Suite", 2}, {"AEGP Keyframe Suite", 3},
    {"AEGP Keyframe Suite", 4}, {"AEGP Keyframe Suite", 5},
    {"AEGP Comp Suite", 4}, {"AEGP Comp Suite", 6}, {"AEGP Comp Suite", 7},
    {"AEGP Comp Suite", 9}, {"AEGP Comp Suite", 11}, {"AEGP Comp Suite", 14},
    {"AEGP Comp Suite", 15}, {"AEGP Comp Suite", 18}, {"AEGP Comp Suite", 19},
    {"AEGP Comp Suite", 21}, {"AEGP Comp Suite", 25},
    {"AEGP Composite Suite", 4},
    {"AEGP Canvas Suite", 4}, {"AEGP Canvas Suite", 6}, {"AEGP Canvas Suite", 9},
    {"AEGP Canvas Suite", 10}, {"AEGP Canvas Suite", 11}, {"AEGP Canvas Suite", 13},
    {"AEGP Canvas Suite", 14},
    {"AEGP Camera Suite", 1}, {"AEGP Camera Suite", 2},
    {"AEGP Light Suite", 1}, {"AEGP Light Suite", 2},
    {"AEGP Effect Suite", 1}, {"AEGP Effect Suite", 2}, {"AEGP Effect Suite", 3},
    {"AEGP Effect Suite", 4},
    {"AEGP Mask Suite", 2}, {"AEGP Mask Suite", 3}, {"AEGP Mask Suite", 4},
    {"AEGP Mask Suite", 5}, {"AEGP Mask Suite", 6}, {"AEGP Mask Suite", 7},
    {"AEGP Mask Outline Suite", 2}, {"AEGP Mask Outline Suite", 3},
    {"AEGP Mask Outline Suite", 5},
    {"AEGP Command Suite", 1},
    {"AEGP Utility Suite", 3}, {"AEGP Utility Suite", 5}, {"AEGP Utility Suite", 7},
    {"AEGP Utility Suite", 10}, {"AEGP Utility Suite", 11}, {"AEGP Utility Suite", 13},
    {"AEGP Render Suite", 1}, {"AEGP Render Suite", 2}, {"AEGP Render Suite", 3},
    {"AEGP Render Suite", 5}, {"AEGP Render Suite", 8},
    {"AEGP World Suite", 1}, {"AEGP World Suite", 2}, {"AEGP World Suite", 3},
    {"AEGP Item Suite", 3}, {"AEGP Item Suite", 4}, {"AEGP Item Suite", 5},
    {"AEGP Item Suite", 6}, {"AEGP Item Suite", 7}, {"AEGP Item Suite", 10},
    {"AEGP Item Suite", 11}, {"AEGP Item Suite", 13}, {"AEGP Item Suite", 14},
    {"AEGP Item View Suite", 1},
    {"AEGP Footage Suite", 11},
    {"AEGP Project Suite", 8}, {"AEGP Project Suite", 9},
    {"AEGP PF Interface Suite", 1},
    {"AEGP Math Suite", 1},
    {"AEGP Memory Suite", 1},
    {"AEGP Persistent Data Suite", 3}, {"AEGP Persistent Data Suite", 4},
    {"AEGP Collection Suite", 1}, {"AEGP Collection Suite", 2},
    {"AEGP Text Document Suite", 1},
    {"AEGP Text Layer Suite", 1},
    {"AEGP Color Settings Suite", 1}, {"AEGP Color Settings Suite", 3},
    {"AEGP Color Settings Suite", 4}, {"AEGP Color Settings Suite", 5},
    {"AEGP Color Settings Suite", 6},
    {"AEGP Render Options Suite", 1}, {"AEGP Render Options Suite", 2},
    {"AEGP Render Options Suite", 3}, {"AEGP Render Options Suite", 4},
    {"AEGP Render Queue Suite", 1},
    {"AEGP RQItem Suite", 5},
    {"AEGP Iterate Suite", 1}, {"AEGP Iterate Suite", 2},
    {"PF Handle Suite", 2},
    {"PF Iterate8 Suite", 1},
    {"PF iterate16 Suite", 1},
    {"PF iterateFloat Suite", 1},
    {"PF Param Utils Suite", 2}, {"PF Param Utils Suite", 3},
    {"PF ANSI Suite", 1},
    {"PF Effect Custom UI Suite", 1}, {"PF Effect Custom UI Suite", 2},
    {"DRAWBOT Draw Suite", 1},
    {"DRAWBOT Supplier Suite", 1},
    {"DRAWBOT Surface Suite", 2},
    {"DRAWBOT Path Suite", 1},
    {"PF World Suite", 2},
    {"PF Pixel Data Suite", 1},
    {"PF Effect UI Suite", 1},
    {"PF Cache On Load Suite", 1},
    {"PF Color16 Suite", 1},
    {"PF AE App Suite", 6},
    {"SP Suites Suite", 2},
};

static_assert(AEGP_SuiteHandler::Impl::kRowCount == 133, "one cache slot per table row");

AEGP_SuiteHandler::AEGP_SuiteHandler(const SPBasicSuite* basic) : basic_(basic), slots_{} {
    if (!basic_) MissingSuiteError();
}

AEGP_SuiteHandler::~AEGP_SuiteHandler() {
    if (!basic_ || !basic_->ReleaseSuite) return;
    for (int i = 0; i < Impl::kRowCount; ++i) {
        if (slots_[i]) basic_->ReleaseSuite(Impl::kRows[i].name, Impl::kRows[i].version);
    }
}

PF_HandleSuite1* AEGP_SuiteHandler::HandleSuite1() {
    return Impl::Get<PF_HandleSuite1>(*this, Impl::kPFHandle1);
}
PF_ParamUtilsSuite3* AEGP_SuiteHandler::ParamUtilsSuite3() {
    return Impl::Get<PF_ParamUtilsSuite3>(*this, Impl::kPFParamUtils3);
}
PFAppSuite4* AEGP_SuiteHandler::AppSuite4() {
    return Impl::Get<PFAppSuite4>(*this, Impl::kPFApp4);
}
PF_ANSICallbacksSuite1* AEGP_SuiteHandler::ANSICallbacksSuite1() {
    return Impl::Get<PF_ANSICallbacksSuite1>(*this, Impl::kPFANSI1);
}
PF_EffectCustomUISuite1* AEGP_SuiteHandler::EffectCustomUISuite1() {
    return Impl::Get<PF_EffectCustomUISuite1>(*this, Impl::kPFEffectCustomUI1);
}
AEGP_PFInterfaceSuite1* AEGP_SuiteHandler::PFInterfaceSuite1() {
    return Impl::Get<AEGP_PFInterfaceSuite1>(*this, Impl::kPFInterface1);
}
AEGP_DynamicStreamSuite3* AEGP_SuiteHandler::DynamicStreamSuite3() {
    return Impl::Get<AEGP_DynamicStreamSuite3>(*this, Impl::kDynamicStream3);
}
AEGP_EffectSuite3* AEGP_SuiteHandler::EffectSuite3() {
    return Impl::Get<AEGP_EffectSuite3>(*this, Impl::kEffect3);
}
AEGP_PersistentDataSuite3* AEGP_SuiteHandler::PersistentDataSuite3() {
    return Impl::Get<AEGP_PersistentDataSuite3>(*this, Impl::kPersistentData3);
}
AEGP_StreamSuite2* AEGP_SuiteHandler::StreamSuite2() {
    return Impl::Get<AEGP_StreamSuite2>(*this, Impl::kStream2);
}
AEGP_LayerSuite6* AEGP_SuiteHandler::LayerSuite6() {
    return Impl::Get<AEGP_LayerSuite6>(*this, Impl::kLayer6);
}
AEGP_ItemSuite8* AEGP_SuiteHandler::ItemSuite8() {
    return Impl::Get<AEGP_ItemSuite8>(*this, Impl::kItem8);
}
AEGP_FootageSuite5* AEGP_SuiteHandler::FootageSuite5() {
    return Impl::Get<AEGP_FootageSuite5>(*this, Impl::kFootage5);
}

}  // namespace DAE
