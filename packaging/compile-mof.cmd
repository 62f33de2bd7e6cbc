@echo off
rem Tells WMI about the classes and providers of VelkWmiPci.dll. Setup runs it; it can be run again at any time, from an
rem elevated command prompt. What the compiler said is kept in compile-mof.log.
setlocal
set "log=%~dp0compile-mof.log"
set "compiler=%SystemRoot%\System32\wbem\mofcomp.exe"

rem The provider's logs go here. Windows has the folder, but not one that someone tidied up.
if not exist "%SystemRoot%\System32\wbem\logs\" mkdir "%SystemRoot%\System32\wbem\logs"

if not exist "%compiler%" goto missing
"%compiler%" "%~dp0mof\VelkWmiPci.mof" >"%log%" 2>&1
set "code=%errorlevel%"
if not "%code%"=="0" goto failed
echo The WMI classes of VelkWmiPci are ready.>>"%log%"
type "%log%"
exit /b 0

:missing
set "code=2"
echo "%compiler%" does not exist.>"%log%"
:failed
echo The WMI classes of VelkWmiPci are NOT available: the MOF compiler failed (code %code%).>>"%log%"
echo The provider itself is installed and registered. Repair WMI, then run as administrator:>>"%log%"
echo   "%~f0">>"%log%"
type "%log%"
exit /b %code%
