@echo off
rem Runs every test of this kit: accept.cmd, or accept.cmd bench for the times of the benchmarks too.
rem It needs nothing but this folder, no administrator, and touches nothing outside this folder and a
rem temporary one. The result is acceptance-report.txt, here.
setlocal
if not exist "%~dp0accept.exe" goto not_unpacked
"%~dp0accept.exe" %*
set code=%ERRORLEVEL%
goto end

:not_unpacked
echo accept: unpack the whole archive into a folder first, then start accept.cmd there
set code=2

:end
rem A double click gives the full name in quotes; the window that it opened would close at once.
if /i %0=="%~f0" pause
exit /b %code%
