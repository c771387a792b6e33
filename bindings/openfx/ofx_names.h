// Strings of the OpenFX C interface, by the names that its users know. Where a string is not its
// name without the k, that is how the interface has it.
#pragma once

// Suites.
constexpr char kOfxPropertySuite[] = "OfxPropertySuite";
constexpr char kOfxImageEffectSuite[] = "OfxImageEffectSuite";
constexpr char kOfxParameterSuite[] = "OfxParameterSuite";
constexpr char kOfxMemorySuite[] = "OfxMemorySuite";
constexpr char kOfxMultiThreadSuite[] = "OfxMultiThreadSuite";
constexpr char kOfxMessageSuite[] = "OfxMessageSuite";
constexpr char kOfxInteractSuite[] = "OfxInteractSuite";
constexpr char kOfxProgressSuite[] = "OfxProgressSuite";
constexpr char kOfxTimeLineSuite[] = "OfxTimeLineSuite";
constexpr char kOfxDrawSuite[] = "OfxDrawSuite";

constexpr char kOfxImageEffectPluginApi[] = "OfxImageEffectPluginAPI";

// Actions.
constexpr char kOfxActionLoad[] = "OfxActionLoad";
constexpr char kOfxActionUnload[] = "OfxActionUnload";
constexpr char kOfxActionDescribe[] = "OfxActionDescribe";
constexpr char kOfxActionCreateInstance[] = "OfxActionCreateInstance";
constexpr char kOfxActionDestroyInstance[] = "OfxActionDestroyInstance";
constexpr char kOfxActionBeginInstanceChanged[] = "OfxActionBeginInstanceChanged";
constexpr char kOfxActionInstanceChanged[] = "OfxActionInstanceChanged";
constexpr char kOfxActionEndInstanceChanged[] = "OfxActionEndInstanceChanged";
constexpr char kOfxActionPurgeCaches[] = "OfxActionPurgeCaches";
constexpr char kOfxActionSyncPrivateData[] = "OfxActionSyncPrivateData";
constexpr char kOfxActionBeginInstanceEdit[] = "OfxActionBeginInstanceEdit";
constexpr char kOfxActionEndInstanceEdit[] = "OfxActionEndInstanceEdit";
constexpr char kOfxImageEffectActionDescribeInContext[] = "OfxImageEffectActionDescribeInContext";
constexpr char kOfxImageEffectActionGetClipPreferences[] = "OfxImageEffectActionGetClipPreferences";
constexpr char kOfxImageEffectActionGetRegionOfDefinition[] =
    "OfxImageEffectActionGetRegionOfDefinition";
constexpr char kOfxImageEffectActionGetRegionsOfInterest[] =
    "OfxImageEffectActionGetRegionsOfInterest";
constexpr char kOfxImageEffectActionGetFramesNeeded[] = "OfxImageEffectActionGetFramesNeeded";
constexpr char kOfxImageEffectActionGetTimeDomain[] = "OfxImageEffectActionGetTimeDomain";
constexpr char kOfxImageEffectActionIsIdentity[] = "OfxImageEffectActionIsIdentity";
constexpr char kOfxImageEffectActionBeginSequenceRender[] =
    "OfxImageEffectActionBeginSequenceRender";
constexpr char kOfxImageEffectActionRender[] = "OfxImageEffectActionRender";
constexpr char kOfxImageEffectActionEndSequenceRender[] = "OfxImageEffectActionEndSequenceRender";
constexpr char kOfxInteractActionDraw[] = "OfxInteractActionDraw";
constexpr char kOfxInteractActionPenMotion[] = "OfxInteractActionPenMotion";
constexpr char kOfxInteractActionPenDown[] = "OfxInteractActionPenDown";
constexpr char kOfxInteractActionPenUp[] = "OfxInteractActionPenUp";
constexpr char kOfxInteractActionKeyDown[] = "OfxInteractActionKeyDown";
constexpr char kOfxInteractActionKeyUp[] = "OfxInteractActionKeyUp";
constexpr char kOfxInteractActionKeyRepeat[] = "OfxInteractActionKeyRepeat";
constexpr char kOfxInteractActionGainFocus[] = "OfxInteractActionGainFocus";
constexpr char kOfxInteractActionLoseFocus[] = "OfxInteractActionLoseFocus";

// General properties.
constexpr char kOfxPropType[] = "OfxPropType";
constexpr char kOfxPropName[] = "OfxPropName";
constexpr char kOfxPropLabel[] = "OfxPropLabel";
constexpr char kOfxPropShortLabel[] = "OfxPropShortLabel";
constexpr char kOfxPropLongLabel[] = "OfxPropLongLabel";
constexpr char kOfxPropVersion[] = "OfxPropVersion";
constexpr char kOfxPropVersionLabel[] = "OfxPropVersionLabel";
constexpr char kOfxPropAPIVersion[] = "OfxPropAPIVersion";
constexpr char kOfxPropPluginDescription[] = "OfxPropPluginDescription";
constexpr char kOfxPropTime[] = "OfxPropTime";
constexpr char kOfxPropIsInteractive[] = "OfxPropIsInteractive";
constexpr char kOfxPropInstanceData[] = "OfxPropInstanceData";
constexpr char kOfxPropEffectInstance[] = "OfxPropEffectInstance";
constexpr char kOfxPropChangeReason[] = "OfxPropChangeReason";
constexpr char kOfxPropKeySym[] = "kOfxPropKeySym";
constexpr char kOfxPropKeyString[] = "kOfxPropKeyString";
constexpr char kOfxPluginPropFilePath[] = "OfxPluginPropFilePath";

// Values of OfxPropType and OfxPropChangeReason.
constexpr char kOfxTypeImageEffectHost[] = "OfxTypeImageEffectHost";
constexpr char kOfxTypeImageEffect[] = "OfxTypeImageEffect";
constexpr char kOfxTypeImageEffectInstance[] = "OfxTypeImageEffectInstance";
constexpr char kOfxTypeParameter[] = "OfxTypeParameter";
constexpr char kOfxTypeParameterInstance[] = "OfxTypeParameterInstance";
constexpr char kOfxTypeClip[] = "OfxTypeClip";
constexpr char kOfxTypeImage[] = "OfxTypeImage";
constexpr char kOfxChangeUserEdited[] = "OfxChangeUserEdited";
constexpr char kOfxChangePluginEdited[] = "OfxChangePluginEdited";
constexpr char kOfxChangeTime[] = "OfxChangeTime";

// Image effects.
constexpr char kOfxImageEffectPropContext[] = "OfxImageEffectPropContext";
constexpr char kOfxImageEffectContextFilter[] = "OfxImageEffectContextFilter";
constexpr char kOfxImageEffectContextGeneral[] = "OfxImageEffectContextGeneral";
constexpr char kOfxImageEffectPluginPropGrouping[] = "OfxImageEffectPluginPropGrouping";
constexpr char kOfxImageEffectPropSupportedContexts[] = "OfxImageEffectPropSupportedContexts";
constexpr char kOfxImageEffectPropSupportedPixelDepths[] = "OfxImageEffectPropSupportedPixelDepths";
constexpr char kOfxImageEffectPropSupportedComponents[] = "OfxImageEffectPropSupportedComponents";
constexpr char kOfxImageEffectPluginPropSingleInstance[] = "OfxImageEffectPluginPropSingleInstance";
constexpr char kOfxImageEffectPluginRenderThreadSafety[] = "OfxImageEffectPluginRenderThreadSafety";
constexpr char kOfxImageEffectRenderUnsafe[] = "OfxImageEffectRenderUnsafe";
constexpr char kOfxImageEffectRenderInstanceSafe[] = "OfxImageEffectRenderInstanceSafe";
constexpr char kOfxImageEffectRenderFullySafe[] = "OfxImageEffectRenderFullySafe";
constexpr char kOfxImageEffectPluginPropHostFrameThreading[] =
    "OfxImageEffectPluginPropHostFrameThreading";
constexpr char kOfxImageEffectPluginPropFieldRenderTwiceAlways[] =
    "OfxImageEffectPluginPropFieldRenderTwiceAlways";
constexpr char kOfxImageEffectPropSupportsMultiResolution[] =
    "OfxImageEffectPropSupportsMultiResolution";
constexpr char kOfxImageEffectPropSupportsTiles[] = "OfxImageEffectPropSupportsTiles";
constexpr char kOfxImageEffectPropTemporalClipAccess[] = "OfxImageEffectPropTemporalClipAccess";
constexpr char kOfxImageEffectPropSupportsMultipleClipDepths[] =
    "OfxImageEffectPropMultipleClipDepths";
constexpr char kOfxImageEffectPropSupportsMultipleClipPARs[] =
    "OfxImageEffectPropSupportsMultipleClipPARs";
constexpr char kOfxImageEffectPropSetableFrameRate[] = "OfxImageEffectPropSetableFrameRate";
constexpr char kOfxImageEffectPropSetableFielding[] = "OfxImageEffectPropSetableFielding";
constexpr char kOfxImageEffectInstancePropSequentialRender[] =
    "OfxImageEffectInstancePropSequentialRender";
constexpr char kOfxImageEffectInstancePropEffectDuration[] =
    "OfxImageEffectInstancePropEffectDuration";
constexpr char kOfxImageEffectPropClipPreferencesSlaveParam[] =
    "OfxImageEffectPropClipPreferencesSlaveParam";
constexpr char kOfxImageEffectPropSupportsOverlays[] = "OfxImageEffectPropSupportsOverlays";
constexpr char kOfxImageEffectPluginPropOverlayInteractV1[] =
    "OfxImageEffectPluginPropOverlayInteractV1";
constexpr char kOfxImageEffectPluginPropOverlayInteractV2[] =
    "OfxImageEffectPluginPropOverlayInteractV2";
constexpr char kOfxImageEffectHostPropIsBackground[] = "OfxImageEffectHostPropIsBackground";
constexpr char kOfxImageEffectPropProjectExtent[] = "OfxImageEffectPropProjectExtent";
constexpr char kOfxImageEffectPropProjectSize[] = "OfxImageEffectPropProjectSize";
constexpr char kOfxImageEffectPropProjectOffset[] = "OfxImageEffectPropProjectOffset";
constexpr char kOfxImageEffectPropProjectPixelAspectRatio[] = "OfxImageEffectPropPixelAspectRatio";
constexpr char kOfxImageEffectPropFrameRate[] = "OfxImageEffectPropFrameRate";
constexpr char kOfxImageEffectPropUnmappedFrameRate[] = "OfxImageEffectPropUnmappedFrameRate";
constexpr char kOfxImageEffectPropFrameRange[] = "OfxImageEffectPropFrameRange";
constexpr char kOfxImageEffectPropUnmappedFrameRange[] = "OfxImageEffectPropUnmappedFrameRange";
constexpr char kOfxImageEffectPropFrameStep[] = "OfxImageEffectPropFrameStep";
constexpr char kOfxImageEffectFrameVarying[] = "OfxImageEffectFrameVarying";
constexpr char kOfxImageEffectPropRenderScale[] = "OfxImageEffectPropRenderScale";
constexpr char kOfxImageEffectPropRenderWindow[] = "OfxImageEffectPropRenderWindow";
constexpr char kOfxImageEffectPropFieldToRender[] = "OfxImageEffectPropFieldToRender";
constexpr char kOfxImageEffectPropRegionOfDefinition[] = "OfxImageEffectPropRegionOfDefinition";
constexpr char kOfxImageEffectPropRegionOfInterest[] = "OfxImageEffectPropRegionOfInterest";
constexpr char kOfxImageEffectPropSequentialRenderStatus[] =
    "OfxImageEffectPropSequentialRenderStatus";
constexpr char kOfxImageEffectPropInteractiveRenderStatus[] =
    "OfxImageEffectPropInteractiveRenderStatus";
constexpr char kOfxImageEffectPropPluginHandle[] = "OfxImageEffectPropPluginHandle";

// Clips and images.
constexpr char kOfxImageEffectOutputClipName[] = "Output";
constexpr char kOfxImageEffectSimpleSourceClipName[] = "Source";
constexpr char kOfxImageClipPropOptional[] = "OfxImageClipPropOptional";
constexpr char kOfxImageClipPropIsMask[] = "OfxImageClipPropIsMask";
constexpr char kOfxImageClipPropConnected[] = "OfxImageClipPropConnected";
constexpr char kOfxImageClipPropFieldExtraction[] = "OfxImageClipPropFieldExtraction";
constexpr char kOfxImageClipPropFieldOrder[] = "OfxImageClipPropFieldOrder";
constexpr char kOfxImageClipPropContinuousSamples[] = "OfxImageClipPropContinuousSamples";
constexpr char kOfxImageClipPropUnmappedPixelDepth[] = "OfxImageClipPropUnmappedPixelDepth";
constexpr char kOfxImageClipPropUnmappedComponents[] = "OfxImageClipPropUnmappedComponents";
constexpr char kOfxImageEffectPropPixelDepth[] = "OfxImageEffectPropPixelDepth";
constexpr char kOfxImageEffectPropComponents[] = "OfxImageEffectPropComponents";
constexpr char kOfxImageEffectPropPreMultiplication[] = "OfxImageEffectPropPreMultiplication";
constexpr char kOfxImagePropPixelAspectRatio[] = "OfxImagePropPixelAspectRatio";
constexpr char kOfxImagePropData[] = "OfxImagePropData";
constexpr char kOfxImagePropBounds[] = "OfxImagePropBounds";
constexpr char kOfxImagePropRegionOfDefinition[] = "OfxImagePropRegionOfDefinition";
constexpr char kOfxImagePropRowBytes[] = "OfxImagePropRowBytes";
constexpr char kOfxImagePropField[] = "OfxImagePropField";
constexpr char kOfxImagePropUniqueIdentifier[] = "OfxImagePropUniqueIdentifier";
/// With a clip's name behind it.
constexpr char kOfxImageClipPropRoIPrefix[] = "OfxImageClipPropRoI_";
constexpr char kOfxImageClipPropFrameRangePrefix[] = "OfxImageClipPropFrameRange_";
constexpr char kOfxImageClipPropComponentsPrefix[] = "OfxImageClipPropComponents_";
constexpr char kOfxImageClipPropDepthPrefix[] = "OfxImageClipPropDepth_";
constexpr char kOfxImageClipPropPARPrefix[] = "OfxImageClipPropPAR_";

constexpr char kOfxBitDepthNone[] = "OfxBitDepthNone";
constexpr char kOfxBitDepthByte[] = "OfxBitDepthByte";
constexpr char kOfxBitDepthShort[] = "OfxBitDepthShort";  ///< white 65535
constexpr char kOfxBitDepthHalf[] = "OfxBitDepthHalf";
constexpr char kOfxBitDepthFloat[] = "OfxBitDepthFloat";
constexpr char kOfxImageComponentNone[] = "OfxImageComponentNone";
constexpr char kOfxImageComponentRGBA[] = "OfxImageComponentRGBA";
constexpr char kOfxImageComponentRGB[] = "OfxImageComponentRGB";
constexpr char kOfxImageComponentAlpha[] = "OfxImageComponentAlpha";
constexpr char kOfxImageOpaque[] = "OfxImageOpaque";
constexpr char kOfxImagePreMultiplied[] = "OfxImageAlphaPremultiplied";
constexpr char kOfxImageUnPreMultiplied[] = "OfxImageAlphaUnPremultiplied";
constexpr char kOfxImageFieldNone[] = "OfxFieldNone";
constexpr char kOfxImageFieldLower[] = "OfxFieldLower";  ///< lines 0, 2, 4 from the bottom
constexpr char kOfxImageFieldUpper[] = "OfxFieldUpper";
constexpr char kOfxImageFieldBoth[] = "OfxFieldBoth";
constexpr char kOfxImageFieldSingle[] = "OfxFieldSingle";
constexpr char kOfxImageFieldDoubled[] = "OfxFieldDoubled";

// Parameters.
constexpr char kOfxParamTypeInteger[] = "OfxParamTypeInteger";
constexpr char kOfxParamTypeDouble[] = "OfxParamTypeDouble";
constexpr char kOfxParamTypeDouble2D[] = "OfxParamTypeDouble2D";
constexpr char kOfxParamTypeRGB[] = "OfxParamTypeRGB";
constexpr char kOfxParamTypeBoolean[] = "OfxParamTypeBoolean";
constexpr char kOfxParamTypeChoice[] = "OfxParamTypeChoice";
constexpr char kOfxParamTypeString[] = "OfxParamTypeString";
constexpr char kOfxParamTypePushButton[] = "OfxParamTypePushButton";
constexpr char kOfxParamTypeGroup[] = "OfxParamTypeGroup";
constexpr char kOfxParamTypePage[] = "OfxParamTypePage";
constexpr char kOfxParamPropType[] = "OfxParamPropType";
constexpr char kOfxParamPropHint[] = "OfxParamPropHint";
constexpr char kOfxParamPropScriptName[] = "OfxParamPropScriptName";
constexpr char kOfxParamPropParent[] = "OfxParamPropParent";
constexpr char kOfxParamPropSecret[] = "OfxParamPropSecret";
constexpr char kOfxParamPropEnabled[] = "OfxParamPropEnabled";
constexpr char kOfxParamPropDataPtr[] = "OfxParamPropDataPtr";
constexpr char kOfxParamPropDefault[] = "OfxParamPropDefault";
constexpr char kOfxParamPropAnimates[] = "OfxParamPropAnimates";
constexpr char kOfxParamPropIsAnimating[] = "OfxParamPropIsAnimating";
constexpr char kOfxParamPropIsAutoKeying[] = "OfxParamPropIsAutoKeying";
constexpr char kOfxParamPropPersistant[] = "OfxParamPropPersistant";
constexpr char kOfxParamPropEvaluateOnChange[] = "OfxParamPropEvaluateOnChange";
constexpr char kOfxParamPropCanUndo[] = "OfxParamPropCanUndo";
constexpr char kOfxParamPropCacheInvalidation[] = "OfxParamPropCacheInvalidation";
constexpr char kOfxParamInvalidateValueChange[] = "OfxParamInvalidateValueChange";
constexpr char kOfxParamPropMin[] = "OfxParamPropMin";
constexpr char kOfxParamPropMax[] = "OfxParamPropMax";
constexpr char kOfxParamPropDisplayMin[] = "OfxParamPropDisplayMin";
constexpr char kOfxParamPropDisplayMax[] = "OfxParamPropDisplayMax";
constexpr char kOfxParamPropIncrement[] = "OfxParamPropIncrement";
constexpr char kOfxParamPropDigits[] = "OfxParamPropDigits";
constexpr char kOfxParamPropDoubleType[] = "OfxParamPropDoubleType";
constexpr char kOfxParamDoubleTypePlain[] = "OfxParamDoubleTypePlain";
constexpr char kOfxParamDoubleTypeAngle[] = "OfxParamDoubleTypeAngle";
constexpr char kOfxParamDoubleTypeScale[] = "OfxParamDoubleTypeScale";
constexpr char kOfxParamDoubleTypeXYAbsolute[] = "OfxParamDoubleTypeXYAbsolute";
constexpr char kOfxParamPropDefaultCoordinateSystem[] = "OfxParamPropDefaultCoordinateSystem";
constexpr char kOfxParamCoordinatesCanonical[] = "OfxParamCoordinatesCanonical";
constexpr char kOfxParamCoordinatesNormalised[] = "OfxParamCoordinatesNormalised";
constexpr char kOfxParamPropShowTimeMarker[] = "OfxParamPropShowTimeMarker";
constexpr char kOfxParamPropDimensionLabel[] = "OfxParamPropDimensionLabel";
constexpr char kOfxParamPropHasHostOverlayHandle[] = "OfxParamPropHasHostOverlayHandle";
constexpr char kOfxParamPropUseHostOverlayHandle[] = "kOfxParamPropUseHostOverlayHandle";
constexpr char kOfxParamPropStringMode[] = "OfxParamPropStringMode";
constexpr char kOfxParamStringIsSingleLine[] = "OfxParamStringIsSingleLine";
constexpr char kOfxParamStringIsFilePath[] = "OfxParamStringIsFilePath";
constexpr char kOfxParamPropStringFilePathExists[] = "OfxParamPropStringFilePathExists";
constexpr char kOfxParamPropChoiceOption[] = "OfxParamPropChoiceOption";
constexpr char kOfxParamPropGroupOpen[] = "OfxParamPropGroupOpen";
constexpr char kOfxParamPropPageChild[] = "OfxParamPropPageChild";
constexpr char kOfxPluginPropParamPageOrder[] = "OfxPluginPropParamPageOrder";
constexpr char kOfxPropParamSetNeedsSyncing[] = "OfxPropParamSetNeedsSyncing";
constexpr char kOfxParamHostPropSupportsCustomInteract[] = "OfxParamHostPropSupportsCustomInteract";
constexpr char kOfxParamHostPropSupportsStringAnimation[] =
    "OfxParamHostPropSupportsStringAnimation";
constexpr char kOfxParamHostPropSupportsChoiceAnimation[] =
    "OfxParamHostPropSupportsChoiceAnimation";
constexpr char kOfxParamHostPropSupportsBooleanAnimation[] =
    "OfxParamHostPropSupportsBooleanAnimation";
constexpr char kOfxParamHostPropSupportsCustomAnimation[] =
    "OfxParamHostPropSupportsCustomAnimation";
constexpr char kOfxParamHostPropMaxParameters[] = "OfxParamHostPropMaxParameters";
constexpr char kOfxParamHostPropMaxPages[] = "OfxParamHostPropMaxPages";
constexpr char kOfxParamHostPropPageRowColumnCount[] = "OfxParamHostPropPageRowColumnCount";

// Messages.
constexpr char kOfxMessageFatal[] = "OfxMessageFatal";
constexpr char kOfxMessageError[] = "OfxMessageError";
constexpr char kOfxMessageWarning[] = "OfxMessageWarning";
constexpr char kOfxMessageMessage[] = "OfxMessageMessage";
constexpr char kOfxMessageLog[] = "OfxMessageLog";

// Interacts.
constexpr char kOfxInteractPropHasAlpha[] = "OfxInteractPropHasAlpha";
constexpr char kOfxInteractPropBitDepth[] = "OfxInteractPropBitDepth";
constexpr char kOfxInteractPropPixelScale[] = "OfxInteractPropPixelScale";
constexpr char kOfxInteractPropBackgroundColour[] = "OfxInteractPropBackgroundColour";
constexpr char kOfxInteractPropSuggestedColour[] = "OfxInteractPropSuggestedColour";
constexpr char kOfxInteractPropSlaveToParam[] = "OfxInteractPropSlaveToParam";
constexpr char kOfxInteractPropDrawContext[] = "OfxInteractPropDrawContext";
constexpr char kOfxInteractPropPenPosition[] = "OfxInteractPropPenPosition";
constexpr char kOfxInteractPropPenViewportPosition[] = "OfxInteractPropPenViewportPosition";
constexpr char kOfxInteractPropPenPressure[] = "OfxInteractPropPenPressure";

// Keys have the X11 numbers.
constexpr int kOfxKey_Shift_L = 0xFFE1;
constexpr int kOfxKey_Shift_R = 0xFFE2;
