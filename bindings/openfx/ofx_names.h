// Strings of the OpenFX C interface, by the names that its users know. Where a string is not its
// name without the k, that is how the interface has it.
#pragma once

// Suites.
constexpr char kOfxPropertySuite[] = "OfxPropertySuite";
constexpr char kOfxImageEffectSuite[] = "OfxImageEffectSuite";
constexpr char kOfxParameterSuite[] = "OfxParameterSuite";
constexpr char kOfxMultiThreadSuite[] = "OfxMultiThreadSuite";
constexpr char kOfxMessageSuite[] = "OfxMessageSuite";
constexpr char kOfxInteractSuite[] = "OfxInteractSuite";
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
constexpr char kOfxInteractActionGainFocus[] = "OfxInteractActionGainFocus";
constexpr char kOfxInteractActionLoseFocus[] = "OfxInteractActionLoseFocus";

// General properties.
constexpr char kOfxPropName[] = "OfxPropName";
constexpr char kOfxPropLabel[] = "OfxPropLabel";
constexpr char kOfxPropShortLabel[] = "OfxPropShortLabel";
constexpr char kOfxPropLongLabel[] = "OfxPropLongLabel";
constexpr char kOfxPropVersionLabel[] = "OfxPropVersionLabel";
constexpr char kOfxPropPluginDescription[] = "OfxPropPluginDescription";
constexpr char kOfxPropTime[] = "OfxPropTime";
constexpr char kOfxPropInstanceData[] = "OfxPropInstanceData";
constexpr char kOfxPropEffectInstance[] = "OfxPropEffectInstance";
constexpr char kOfxPropChangeReason[] = "OfxPropChangeReason";
constexpr char kOfxPropKeySym[] = "kOfxPropKeySym";

// Values of OfxPropType and OfxPropChangeReason.
constexpr char kOfxChangeUserEdited[] = "OfxChangeUserEdited";
constexpr char kOfxChangePluginEdited[] = "OfxChangePluginEdited";

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
constexpr char kOfxImageEffectPropSupportsOverlays[] = "OfxImageEffectPropSupportsOverlays";
constexpr char kOfxImageEffectPluginPropOverlayInteractV1[] =
    "OfxImageEffectPluginPropOverlayInteractV1";
constexpr char kOfxImageEffectPluginPropOverlayInteractV2[] =
    "OfxImageEffectPluginPropOverlayInteractV2";
constexpr char kOfxImageEffectPropProjectSize[] = "OfxImageEffectPropProjectSize";
constexpr char kOfxImageEffectPropProjectOffset[] = "OfxImageEffectPropProjectOffset";
constexpr char kOfxImageEffectPropFrameRate[] = "OfxImageEffectPropFrameRate";
constexpr char kOfxImageEffectPropFrameRange[] = "OfxImageEffectPropFrameRange";
constexpr char kOfxImageEffectPropRenderScale[] = "OfxImageEffectPropRenderScale";
constexpr char kOfxImageEffectPropRenderWindow[] = "OfxImageEffectPropRenderWindow";
constexpr char kOfxImageEffectPropFieldToRender[] = "OfxImageEffectPropFieldToRender";
constexpr char kOfxImageEffectPropRegionOfDefinition[] = "OfxImageEffectPropRegionOfDefinition";
constexpr char kOfxImageEffectPropRegionOfInterest[] = "OfxImageEffectPropRegionOfInterest";

// Clips and images.
constexpr char kOfxImageEffectOutputClipName[] = "Output";
constexpr char kOfxImageEffectSimpleSourceClipName[] = "Source";
constexpr char kOfxImageClipPropOptional[] = "OfxImageClipPropOptional";
constexpr char kOfxImageClipPropConnected[] = "OfxImageClipPropConnected";
constexpr char kOfxImageEffectPropPixelDepth[] = "OfxImageEffectPropPixelDepth";
constexpr char kOfxImageEffectPropComponents[] = "OfxImageEffectPropComponents";
constexpr char kOfxImageEffectPropPreMultiplication[] = "OfxImageEffectPropPreMultiplication";
constexpr char kOfxImagePropPixelAspectRatio[] = "OfxImagePropPixelAspectRatio";
constexpr char kOfxImagePropData[] = "OfxImagePropData";
constexpr char kOfxImagePropBounds[] = "OfxImagePropBounds";
constexpr char kOfxImagePropRegionOfDefinition[] = "OfxImagePropRegionOfDefinition";
constexpr char kOfxImagePropRowBytes[] = "OfxImagePropRowBytes";
constexpr char kOfxImagePropField[] = "OfxImagePropField";
/// With a clip's name behind it.
constexpr char kOfxImageClipPropRoIPrefix[] = "OfxImageClipPropRoI_";
constexpr char kOfxImageClipPropFrameRangePrefix[] = "OfxImageClipPropFrameRange_";
constexpr char kOfxImageClipPropComponentsPrefix[] = "OfxImageClipPropComponents_";

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
constexpr char kOfxParamPropEnabled[] = "OfxParamPropEnabled";
constexpr char kOfxParamPropDefault[] = "OfxParamPropDefault";
constexpr char kOfxParamPropAnimates[] = "OfxParamPropAnimates";
constexpr char kOfxParamPropEvaluateOnChange[] = "OfxParamPropEvaluateOnChange";
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
constexpr char kOfxParamCoordinatesNormalised[] = "OfxParamCoordinatesNormalised";
constexpr char kOfxParamPropHasHostOverlayHandle[] = "OfxParamPropHasHostOverlayHandle";
constexpr char kOfxParamPropUseHostOverlayHandle[] = "kOfxParamPropUseHostOverlayHandle";
constexpr char kOfxParamPropStringMode[] = "OfxParamPropStringMode";
constexpr char kOfxParamStringIsFilePath[] = "OfxParamStringIsFilePath";
constexpr char kOfxParamPropChoiceOption[] = "OfxParamPropChoiceOption";
constexpr char kOfxParamPropGroupOpen[] = "OfxParamPropGroupOpen";
constexpr char kOfxParamPropPageChild[] = "OfxParamPropPageChild";
constexpr char kOfxParamHostPropMaxPages[] = "OfxParamHostPropMaxPages";

// Messages.
constexpr char kOfxMessageError[] = "OfxMessageError";

// Interacts.
constexpr char kOfxInteractPropPixelScale[] = "OfxInteractPropPixelScale";
constexpr char kOfxInteractPropSlaveToParam[] = "OfxInteractPropSlaveToParam";
constexpr char kOfxInteractPropDrawContext[] = "OfxInteractPropDrawContext";
constexpr char kOfxInteractPropPenPosition[] = "OfxInteractPropPenPosition";

// Keys have the X11 numbers.
constexpr int kOfxKey_Shift_L = 0xFFE1;
constexpr int kOfxKey_Shift_R = 0xFFE2;
