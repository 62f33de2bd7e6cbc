@echo off
rem Removes the classes and providers of VelkWmiPci.dll from WMI. Setup runs it before it removes the files.
setlocal
set "compiler=%SystemRoot%\System32\wbem\mofcomp.exe"
"%compiler%" "%~dp0mof\uninstall.mof"
exit /b %errorlevel%
