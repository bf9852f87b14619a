// The panel's window, as its thread makes and runs it.
#pragma once

#include <windows.h>

namespace tlr2 {

inline constexpr wchar_t kPanelClass[] = L"TLR2_ControlPanel_v1";
inline constexpr wchar_t kPanelTitle[] = L"TLR2 Control Panel";
inline constexpr int kPanelWidth = 340, kPanelHeight = 818;  // at 96 dots per inch

/// What only later systems have; null where it is missing.
struct OptionalFunctions {
  UINT(WINAPI* getDpiForWindow)(HWND) = nullptr;
  HANDLE(WINAPI* setThreadDpiAwarenessContext)(HANDLE) = nullptr;
  BOOL(WINAPI* systemParametersInfoForDpi)(UINT, UINT, PVOID, UINT, UINT) = nullptr;
};
extern OptionalFunctions optionalFunctions;
void FindOptionalFunctions() noexcept;

/// `value` pixels at 96 dots per inch, in the panel's own dots.
int Scaled(int value) noexcept;
/// The system's font of messages at `dpi`; null when the system does not tell it.
HFONT MakeMessageFont(int dpi) noexcept;
/// What stands in for it.
HFONT MakeOwnFont(int dpi) noexcept;

/// Opens the window beside `parent`, runs its messages until it is closed, and cleans up. The thread's whole life.
void RunPanel(HWND parent) noexcept;

}  // namespace tlr2
