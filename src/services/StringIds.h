#pragma once

#include <cstdint>

namespace kvo::Str {

// Every string id the program uses, in one list, so a test can check that each
// one is in every shipped string table. Ids come in blocks of a thousand, one
// table file per block and language.
#define KVO_STRING_IDS(X)                \
    X(MissingString, 31000)              \
    X(SettingsKeyNotOpened, 31001)       \
    X(SettingsKeyNotCreated, 31002)      \
    X(SettingsValueNotWritten, 31003)    \
    X(ButtonOK, 31004)                   \
    X(ButtonCancel, 31005)               \
    X(ButtonYes, 31006)                  \
    X(ButtonNo, 31007)                   \
    X(ButtonHelp, 31008)                 \
    X(ParserUnknownLine, 31045)          \
    X(LoadUnexpectedBlock, 31081)        \
    X(SlideLoadTitle, 31082)             \
    X(SlideShowLoadTitle, 31085)         \
    X(LoadNoBlock, 31086)                \
    X(LoadTrailingText, 31087)           \
    X(LoadUnknownKey, 31088)             \
    X(ValueLoadTitle, 31089)             \
    X(OverwritePrompt, 31114)            \
    X(IconLoadTitle, 31127)              \
    X(ExportTitle, 31128)                \
    X(ImportTargetExists, 31129)         \
    X(ConfirmTitle, 31130)               \
    X(ExportPackageLabel, 31131)         \
    X(ExportCommentLabel, 31132)         \
    X(ContentsPercentLabel, 31133)       \
    X(ContentsCharacteristicLabel, 31134) \
    X(ContentsColumnLabel, 31135)        \
    X(ImportTitle, 31155)                \
    X(ImportFrame, 31156)                \
    X(ImportBackupFileLabel, 31157)      \
    X(ImportBackupDateLabel, 31158)      \
    X(ImportCommentLabel, 31159)         \
    X(ImportTargetLabel, 31160)          \
    X(MenuFile, 31162)                   \
    X(MenuFileNew, 31163)                \
    X(MenuFileOpen, 31164)               \
    X(MenuFileSave, 31165)               \
    X(MenuFileSaveAs, 31166)             \
    X(MenuFileSaveBinary, 31167)         \
    X(MenuFileClose, 31168)              \
    X(MenuFileProperties, 31169)         \
    X(MenuFileImport, 31170)             \
    X(MenuFileExport, 31171)             \
    X(MenuFilePrint, 31172)              \
    X(MenuFileExit, 31173)               \
    X(MenuFileCapture, 31174)            \
    X(AppTitle, 31192)                   \
    X(ButtonYesToAll, 31193)             \
    X(ButtonNoToAll, 31194)              \
    X(OverwriteTitle, 31195)             \
    X(PositionTitle, 31196)              \
    X(PositionLeft, 31197)               \
    X(PositionTop, 31198)                \
    X(PositionWidth, 31199)              \
    X(PositionHeight, 31200)             \
    X(PropertiesTitle, 31201)            \
    X(PropertiesValueCount, 31202)       \
    X(PropertiesIconCount, 31203)        \
    X(PropertiesSlideCount, 31204)       \
    X(PropertiesNameLabel, 31206)        \
    X(PropertiesDescriptionLabel, 31208) \
    X(PropertiesCustomerLabel, 31209)    \
    X(PropertiesGeneralTab, 31210)       \
    X(PropertiesContentsTab, 31211)      \
    X(ExportBrowseTitle, 31213)          \
    X(PackageFilter, 31214)              \
    X(ImportTargetBrowseTitle, 31215)    \
    X(SlideShowFilter, 31216)            \
    X(NewSlideName, 31217)               \
    X(SlideNamePrompt, 31218)            \
    X(SlideNameTitle, 31219)             \
    X(PackageAlreadyOpen, 31220)         \
    X(PackageBadMagic, 31221)            \
    X(PackageNotOpenForWrite, 31222)     \
    X(PackageNotOpenForRead, 31223)      \
    X(AskSaveChanges, 31225)             \
    X(NewTitle, 31226)                   \
    X(NewFileExists, 31227)              \
    X(OpenTitle, 31228)                  \
    X(SaveAsTitle, 31229)                \
    X(BackgroundTitle, 31230)            \
    X(PictureFilter, 31231)              \
    X(RemoveSlidePrompt, 31232)          \
    X(OneSidedTolerance, 31234)          \
    X(OneSidedColumns, 31235)            \
    X(OneSidedTitle, 31236)              \
    X(HelpFileMissing, 31271)            \
    X(OpenReadOnly, 31272)               \
    X(SaveReadOnly, 31273)               \
    X(ReadOnlyTitle, 31274)              \
    X(BinaryFilter, 31283)               \
    X(TextFilter, 31284)                 \
    X(PropertiesHelpFileLabel, 31297)    \
    X(ImportBrowseTitle, 31298)          \
    X(PropertiesHelpTopicLabel, 31299)   \
    X(HelpTopicPrompt, 31300)            \
    X(HelpTopicTitle, 31301)             \
    X(MenuSlide, 31400)                  \
    X(MenuSlideFirst, 31401)             \
    X(MenuSlidePrevious, 31402)          \
    X(MenuSlideNext, 31403)              \
    X(MenuSlideLast, 31404)              \
    X(MenuSlideAdd, 31405)               \
    X(MenuSlideInsert, 31406)            \
    X(MenuSlideRemove, 31407)            \
    X(MenuSlideUp, 31408)                \
    X(MenuSlideDown, 31409)              \
    X(MenuSlideTitle, 31410)             \
    X(MenuSlideHelpTopic, 31411)         \
    X(MenuBack, 31420)                   \
    X(MenuBackSet, 31421)                \
    X(MenuBackClear, 31422)              \
    X(MenuBackColor, 31423)              \
    X(MenuBackPosition, 31424)           \
    X(MenuBackUpdate, 31425)             \
    X(MenuBackEdit, 31426)               \
    X(MenuIcon, 31440)                   \
    X(MenuInsertIcon, 31441)             \
    X(MenuIconProp, 31442)               \
    X(MenuIconDelete, 31443)             \
    X(MenuIconSetDef, 31444)             \
    X(MenuScreen, 31460)                 \
    X(MenuScreen640, 31461)              \
    X(MenuScreen800, 31462)              \
    X(MenuHelp, 31480)                   \
    X(MenuHelpContents, 31481)           \
    X(MenuHelpAbout, 31482)              \
    X(SettingsFileDamaged, 31500)        \
    X(SettingsFileUnusable, 31501)       \
    X(SettingsKeyNotDeleted, 31502)      \
    X(LoadEndsInsideBlock, 31503)        \
    X(HelpFileFilter, 31504)             \
    X(MenuFileCopyImage, 31175)          \
    X(CaptureTitle, 31505)               \
    X(CaptureFilter, 31506)              \
    X(SlideStatus, 31507)                \
    X(FileErrorTitle, 31508)             \
    X(FileErrorMessage, 31509)           \
    X(StartupErrorMessage, 31510)        \
    X(AboutText, 31511)

#define KVO_DECLARE_STRING_ID(name, id) inline constexpr int32_t name = id;
KVO_STRING_IDS(KVO_DECLARE_STRING_ID)
#undef KVO_DECLARE_STRING_ID

#define KVO_LIST_STRING_ID(name, id) id,
inline constexpr int32_t kAll[] = {KVO_STRING_IDS(KVO_LIST_STRING_ID)};
#undef KVO_LIST_STRING_ID

}  // namespace kvo::Str
