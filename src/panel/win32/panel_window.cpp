// The panel's window: its controls as the table has them, and what each of their messages writes.
#include "panel/win32/panel_window.h"

#include <commctrl.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "panel/controls.h"

namespace tlr2 {

OptionalFunctions optionalFunctions;

namespace {

// The panel's thread alone touches these.
HWND panelWindow = nullptr;
HFONT panelFont = nullptr;

constexpr UINT_PTR kTimerId = 1;
constexpr UINT kTimerMs = 250;
constexpr int kFieldBytes = 16;

/// The texts of the table are plain ASCII.
struct WideText {
  wchar_t text[64];
  explicit WideText(const char* narrow) noexcept {
    std::size_t i = 0;
    for (; narrow[i] != '\0' && i + 1 < std::size(text); ++i) text[i] = static_cast<wchar_t>(narrow[i]);
    text[i] = L'\0';
  }
};

SettingWord& WordOf(const ControlRow& row) noexcept { return Settings().*row.word; }

/// Null when the control cannot be made; whatever uses it tests for that.
HWND MakeChild(HWND parent, int id, const wchar_t* type, const wchar_t* text, DWORD style, const ControlPlace& place,
               DWORD extendedStyle = 0) noexcept {
  return CreateWindowExW(extendedStyle, type, text, WS_CHILD | WS_VISIBLE | style, Scaled(place.x), Scaled(place.y),
                         Scaled(place.width), Scaled(place.height), parent,
                         reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
}

void MakeList(HWND window, const ControlRow& row, const ControlPlace& place, DWORD group) noexcept {
  HWND list = MakeChild(window, row.id, L"COMBOBOX", L"", CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP | group, place);
  if (list == nullptr) return;
  for (const char* const* item = row.items; *item != nullptr; ++item)
    SendMessageW(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(WideText(*item).text));
  SendMessageW(list, CB_SETCURSEL, static_cast<WPARAM>(std::int32_t{WordOf(row)}), 0);
}

void MakeSlider(HWND window, const ControlRow& row, DWORD group) noexcept {
  const SettingRow& setting = SettingOfControl(row);
  const std::int32_t value = WordOf(row);
  char label[kSliderLabelBytes];
  FormatSliderLabel(row, value, label);
  MakeChild(window, SliderLabelId(row), L"STATIC", WideText(label).text, 0, SliderLabelPlace(row));
  HWND track =
      MakeChild(window, row.id, TRACKBAR_CLASSW, L"", TBS_AUTOTICKS | WS_TABSTOP | group, SliderTrackPlace(row));
  if (track == nullptr) return;
  SendMessageW(track, TBM_SETRANGEMIN, FALSE, setting.minimum);  // one end a message: a hue is negative there
  SendMessageW(track, TBM_SETRANGEMAX, FALSE, setting.maximum);
  SendMessageW(track, TBM_SETTICFREQ, static_cast<WPARAM>((setting.maximum - setting.minimum) / 4), 0);
  SendMessageW(track, TBM_SETPOS, TRUE, value);
}

void MakeNumber(HWND window, const ControlRow& row, const ControlPlace& place, DWORD group) noexcept {
  char text[kFieldBytes];
  std::snprintf(text, sizeof text, "%u", static_cast<unsigned>(std::int32_t{WordOf(row)}));
  MakeChild(window, row.id, L"EDIT", WideText(text).text, ES_NUMBER | ES_RIGHT | ES_AUTOHSCROLL | WS_TABSTOP | group,
            place, WS_EX_CLIENTEDGE);
}

void MakeControl(HWND window, const ControlRow& row) noexcept {
  const ControlPlace place = {row.x, row.y, row.width, row.height};
  const WideText caption(row.caption);
  const DWORD group = row.startsGroup ? WS_GROUP : 0;
  switch (row.kind) {
    case ControlKind::kText:
      MakeChild(window, row.id, L"STATIC", caption.text, SS_LEFT | group, place);
      break;
    case ControlKind::kRightText:
      MakeChild(window, row.id, L"STATIC", caption.text, SS_RIGHT | group, place);
      break;
    case ControlKind::kRadio:
      // Of a group, the button that is checked is the stop; the system moves that style along.
      MakeChild(window, row.id, L"BUTTON", caption.text,
                BS_AUTORADIOBUTTON | (row.startsGroup ? WS_GROUP | WS_TABSTOP : 0), place);
      break;
    case ControlKind::kCheckBox: {
      HWND box = MakeChild(window, row.id, L"BUTTON", caption.text, BS_AUTOCHECKBOX | WS_TABSTOP | group, place);
      if (box != nullptr) SendMessageW(box, BM_SETCHECK, WordOf(row) != 0 ? BST_CHECKED : BST_UNCHECKED, 0);
      break;
    }
    case ControlKind::kList:
      MakeList(window, row, place, group);
      break;
    case ControlKind::kNumber:
      MakeNumber(window, row, place, group);
      break;
    case ControlKind::kSlider:
      MakeSlider(window, row, group);
      break;
  }
}

/// Checks, in the radio group that `first` starts, the button of the word's value.
void CheckGroup(HWND window, const ControlRow& first) noexcept {
  const ControlRow* last = &first;
  for (const ControlRow* row = &first; row != kControls + kControlCount && row->word == first.word; ++row) last = row;
  const std::int32_t value = std::clamp<std::int32_t>(WordOf(first), 0, last->value);
  CheckRadioButton(window, first.id, last->id, first.id + value);
}

BOOL CALLBACK GiveFont(HWND child, LPARAM) noexcept {
  SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(panelFont), TRUE);
  return TRUE;
}

void OnCreate(HWND window) noexcept {
  if (optionalFunctions.getDpiForWindow != nullptr) {
    const UINT dpi = optionalFunctions.getDpiForWindow(window);
    if (dpi >= USER_DEFAULT_SCREEN_DPI) Settings().panelDpi = static_cast<std::int32_t>(dpi);
  }
  const int dpi = Settings().panelDpi;
  panelFont = MakeMessageFont(dpi);
  if (panelFont == nullptr) panelFont = MakeOwnFont(dpi);
  for (const ControlRow& row : kControls) MakeControl(window, row);
  for (const ControlRow& row : kControls)
    if (row.kind == ControlKind::kRadio && row.startsGroup) CheckGroup(window, row);
  EnumChildWindows(window, GiveFont, 0);
  SetTimer(window, kTimerId, kTimerMs, nullptr);
}

/// Stores what a control says and saves; false when the notification means nothing.
bool OnCommand(HWND window, UINT id, UINT notification) noexcept {
  const ControlRow* row = FindControl(id);
  if (row == nullptr) return false;
  HWND control = GetDlgItem(window, static_cast<int>(id));
  switch (row->kind) {
    case ControlKind::kRadio:
      WordOf(*row) = row->value;
      break;
    case ControlKind::kCheckBox:
      WordOf(*row) = control != nullptr && SendMessageW(control, BM_GETCHECK, 0, 0) == BST_CHECKED ? 1 : 0;
      break;
    case ControlKind::kList: {
      if (notification != CBN_SELCHANGE || control == nullptr) return false;
      const LRESULT selection = SendMessageW(control, CB_GETCURSEL, 0, 0);
      if (selection == CB_ERR) return true;
      WordOf(*row) = static_cast<std::int32_t>(selection);
      break;
    }
    case ControlKind::kNumber: {
      if (notification != EN_CHANGE || control == nullptr) return false;
      char text[kFieldBytes] = {};
      GetWindowTextA(control, text, sizeof text);
      WordOf(*row) = ParseNumberField(text);
      break;
    }
    default:
      return false;
  }
  SaveSettings();
  return true;
}

/// The slider row whose trackbar is `track`, or null.
const ControlRow* SliderOf(HWND window, HWND track) noexcept {
  if (track == nullptr) return nullptr;
  for (const ControlRow& row : kControls)
    if (row.kind == ControlKind::kSlider && GetDlgItem(window, row.id) == track) return &row;
  return nullptr;
}

bool OnScroll(HWND window, HWND track) noexcept {
  const ControlRow* row = SliderOf(window, track);
  if (row == nullptr) return false;
  const SettingRow& setting = SettingOfControl(*row);
  const auto position = static_cast<std::int32_t>(SendMessageW(track, TBM_GETPOS, 0, 0));
  const std::int32_t value = std::clamp(position, setting.minimum, setting.maximum);
  WordOf(*row) = value;
  char label[kSliderLabelBytes];
  FormatSliderLabel(*row, value, label);
  if (HWND text = GetDlgItem(window, SliderLabelId(*row)); text != nullptr)
    SendMessageW(text, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(WideText(label).text));
  SaveSettings();
  return true;
}

LRESULT CALLBACK PanelProcedure(HWND window, UINT message, WPARAM wide, LPARAM data) noexcept {
  switch (message) {
    case WM_CREATE:
      OnCreate(window);
      return 0;
    case WM_TIMER:
      return 0;  // the panel does not read the words again: it is their only writer
    case WM_COMMAND:
      if (OnCommand(window, LOWORD(wide), HIWORD(wide))) return 0;
      break;
    case WM_HSCROLL:
      if (OnScroll(window, reinterpret_cast<HWND>(data))) return 0;
      break;
    case WM_DESTROY:
      SaveSettings();
      PostQuitMessage(0);
      return 0;
    default:
      break;
  }
  return DefWindowProcW(window, message, wide, data);
}

bool RegisterPanelClass() noexcept {
  WNDCLASSEXW type = {};
  type.cbSize = sizeof type;
  type.style = CS_HREDRAW | CS_VREDRAW;
  type.lpfnWndProc = PanelProcedure;
  type.hInstance = GetModuleHandleW(nullptr);
  type.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  type.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_BTNFACE + 1));
  type.lpszClassName = kPanelClass;
  return RegisterClassExW(&type) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

/// Beside the application's window, so that it covers none of the picture.
POINT PanelPosition(HWND parent) noexcept {
  constexpr POINT kDefault = {80, 80};
  constexpr LONG kGap = 8;
  RECT place;
  if (parent == nullptr || IsWindow(parent) == FALSE || GetWindowRect(parent, &place) == FALSE) return kDefault;
  return {place.right + kGap, place.top};
}

void OpenPanel(HWND parent) noexcept {
  const POINT position = PanelPosition(parent);
  panelWindow = CreateWindowExW(0, kPanelClass, kPanelTitle, WS_OVERLAPPEDWINDOW, position.x, position.y, kPanelWidth,
                                kPanelHeight, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
  if (panelWindow == nullptr) return;
  // The dots per inch are known only now.
  SetWindowPos(panelWindow, nullptr, 0, 0, Scaled(kPanelWidth), Scaled(kPanelHeight),
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  ShowWindow(panelWindow, SW_SHOWNA);  // the application keeps the focus
  UpdateWindow(panelWindow);
}

}  // namespace

int Scaled(int value) noexcept { return MulDiv(value, Settings().panelDpi, USER_DEFAULT_SCREEN_DPI); }

void FindOptionalFunctions() noexcept {
  HMODULE user = GetModuleHandleW(L"user32.dll");
  if (user == nullptr) return;
  const auto find = [user](const char* name, auto& function) {
    function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(
        reinterpret_cast<void*>(GetProcAddress(user, name)));
  };
  find("GetDpiForWindow", optionalFunctions.getDpiForWindow);
  find("SetThreadDpiAwarenessContext", optionalFunctions.setThreadDpiAwarenessContext);
  find("SystemParametersInfoForDpi", optionalFunctions.systemParametersInfoForDpi);
}

HFONT MakeMessageFont(int dpi) noexcept {
  NONCLIENTMETRICSW metrics = {};
  metrics.cbSize = sizeof metrics;
  if (optionalFunctions.systemParametersInfoForDpi != nullptr) {
    if (optionalFunctions.systemParametersInfoForDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0,
                                                     static_cast<UINT>(dpi)) == FALSE)
      return nullptr;
  } else {
    if (SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0) == FALSE) return nullptr;
    metrics.lfMessageFont.lfHeight = MulDiv(metrics.lfMessageFont.lfHeight, dpi, USER_DEFAULT_SCREEN_DPI);
  }
  return CreateFontIndirectW(&metrics.lfMessageFont);
}

HFONT MakeOwnFont(int dpi) noexcept {
  constexpr int kPoints = 9, kPointsPerInch = 72;
  constexpr wchar_t kFace[] = L"Segoe UI";
  LOGFONTW font = {};
  font.lfHeight = -MulDiv(kPoints, dpi, kPointsPerInch);
  font.lfWeight = FW_NORMAL;
  font.lfCharSet = DEFAULT_CHARSET;
  font.lfQuality = CLEARTYPE_QUALITY;
  std::copy(std::begin(kFace), std::end(kFace), font.lfFaceName);
  return CreateFontIndirectW(&font);
}

void RunPanel(HWND parent) noexcept {
  FindOptionalFunctions();
  INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_BAR_CLASSES};
  InitCommonControlsEx(&controls);
  if (optionalFunctions.setThreadDpiAwarenessContext != nullptr) {
    const auto perMonitorAwareV2 = reinterpret_cast<HANDLE>(static_cast<INT_PTR>(-4));
    optionalFunctions.setThreadDpiAwarenessContext(perMonitorAwareV2);
  }
  if (!RegisterPanelClass()) return;
  OpenPanel(parent);
  MSG message;
  while (panelWindow != nullptr && GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (IsDialogMessageW(panelWindow, &message) != FALSE) continue;  // the Tab and arrow keys
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  if (panelWindow != nullptr && IsWindow(panelWindow) != FALSE) DestroyWindow(panelWindow);
  panelWindow = nullptr;
  if (panelFont != nullptr) DeleteObject(panelFont);
  panelFont = nullptr;
}

}  // namespace tlr2
