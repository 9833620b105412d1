@echo off
rem Runs every test of this kit: accept.cmd, or accept.cmd bench for the times of the benchmarks too.
rem It needs nothing but this folder, no administrator, and touches nothing outside this folder and a
rem temporary one. The result is acceptance-report.txt, here.
"%~dp0accept.exe" %*
exit /b %ERRORLEVEL%
